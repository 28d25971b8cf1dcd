#include "core/Text.h"

#include <algorithm>
#include <vector>

#include "platform/Platform.h"

namespace kel {

namespace {

bool IsAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

char LowerAscii(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

char UpperAscii(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

// A text in lower case that still knows where each of its bytes came from: folding may change the length of a
// character, and positions that the callers get are those of the original.
struct FoldedText {
    std::string text;
    std::vector<std::size_t> origin;  ///< empty for pure ASCII, where nothing moves; else one more than `text` has

    explicit FoldedText(std::string_view original) {
        if (IsAscii(original)) {
            text = LCase(original);
            return;
        }
        platform::Text& rules = *platform::Current().text;
        std::size_t at = 0;
        while (at < original.size()) {
            std::size_t length = 1;
            if (static_cast<unsigned char>(original[at]) < 0x80) {
                text += LowerAscii(original[at]);
            } else {
                length = std::max<std::size_t>(1, rules.Prefix(original.substr(at), 1));
                text += rules.ToLower(original.substr(at, length));
            }
            origin.resize(text.size(), at);
            at += length;
        }
        origin.push_back(original.size());
    }

    [[nodiscard]] std::size_t Origin(std::size_t at) const { return origin.empty() ? at : origin[at]; }
};

}  // namespace

std::string LCase(std::string_view text) {
    if (!IsAscii(text)) {
        return platform::Current().text->ToLower(text);
    }
    std::string folded(text);
    std::transform(folded.begin(), folded.end(), folded.begin(), LowerAscii);
    return folded;
}

std::string UCase(std::string_view text) {
    if (!IsAscii(text)) {
        return platform::Current().text->ToUpper(text);
    }
    std::string folded(text);
    std::transform(folded.begin(), folded.end(), folded.begin(), UpperAscii);
    return folded;
}

std::string_view Trim(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

bool EqualText(std::string_view left, std::string_view right) {
    // While both are ASCII, characters stand at the same places, and the first difference decides.
    const std::size_t common = std::min(left.size(), right.size());
    for (std::size_t at = 0; at < common; ++at) {
        const auto a = static_cast<unsigned char>(left[at]);
        const auto b = static_cast<unsigned char>(right[at]);
        if (a >= 0x80 || b >= 0x80) {
            return left == right || LCase(left) == LCase(right);
        }
        if (LowerAscii(left[at]) != LowerAscii(right[at])) {
            return false;
        }
    }
    return left.size() == right.size();
}

std::size_t InStr(std::string_view text, std::string_view part) {
    if (text.empty()) {
        return 0;
    }
    const std::size_t found = text.find(part);
    return found == std::string_view::npos ? 0 : found + 1;
}

std::size_t InStrText(std::string_view text, std::string_view part) {
    if (text.empty()) {
        return 0;
    }
    const FoldedText folded(text);
    const std::size_t found = folded.text.find(LCase(part));
    return found == std::string::npos ? 0 : folded.Origin(found) + 1;
}

bool ContainsText(std::string_view text, std::string_view part) {
    return InStrText(text, part) != 0;
}

std::string Replace(std::string_view text, std::string_view what, std::string_view with) {
    if (what.empty()) {
        return std::string(text);
    }
    std::string result;
    std::size_t done = 0;
    for (std::size_t found = text.find(what); found != std::string_view::npos; found = text.find(what, done)) {
        result += text.substr(done, found - done);
        result += with;
        done = found + what.size();
    }
    result += text.substr(done);
    return result;
}

std::string ReplaceText(std::string_view text, std::string_view what, std::string_view with) {
    if (what.empty()) {
        return std::string(text);
    }
    const FoldedText folded(text);
    const std::string sought = LCase(what);
    std::string result;
    std::size_t done = 0;
    std::size_t from = 0;
    for (std::size_t found = folded.text.find(sought); found != std::string::npos;
         found = folded.text.find(sought, from)) {
        result += text.substr(done, folded.Origin(found) - done);
        result += with;
        from = found + sought.size();
        done = folded.Origin(from);
    }
    result += text.substr(done);
    return result;
}

std::string_view Left(std::string_view text, std::size_t count) {
    return text.substr(0, count);
}

std::string_view Right(std::string_view text, std::size_t count) {
    return text.substr(text.size() - std::min(count, text.size()));
}

std::string_view Mid(std::string_view text, std::size_t start, std::size_t count) {
    if (start < 1 || start > text.size()) {
        return {};
    }
    return text.substr(start - 1, count);
}

std::string WithBackslash(std::string_view path) {
    std::string result(path);
    if (result.empty() || result.back() != '\\') {
        result += '\\';
    }
    return result;
}

std::string Text(std::int64_t number) {
    return std::to_string(number);
}

}  // namespace kel
