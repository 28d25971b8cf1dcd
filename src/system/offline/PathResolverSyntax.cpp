#include "offline/PathResolverSyntax.h"

#include <algorithm>
#include <array>

#include "offline/OfflineText.h"

namespace kel::offline {

using platform::Result;
using platform::SysError;

namespace {

constexpr std::string_view Reserved = "<>\"|?*/\\:";

bool IsReserved(char byte) {
    return static_cast<unsigned char>(byte) < 0x20 || Reserved.find(byte) != std::string_view::npos;
}

// The bytes of plain names.
constexpr std::array<bool, 256> PlainBytes = [] {
    std::array<bool, 256> plain{};
    for (unsigned byte = 0x20; byte < 0x7F; ++byte) {
        plain[byte] = Reserved.find(static_cast<char>(byte)) == std::string_view::npos;
    }
    return plain;
}();

char UpperLetter(char letter) {
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

bool IsLetter(char letter) {
    return UpperLetter(letter) >= 'A' && UpperLetter(letter) <= 'Z';
}

void AppendEscape(std::string& out, char byte) {
    const unsigned number = static_cast<unsigned char>(byte);
    out.push_back('\xED');
    out.push_back(static_cast<char>(0xB0 | number >> 6));
    out.push_back(static_cast<char>(0x80 | (number & 0x3F)));
}

// The byte behind an escape that begins at `at`, or -1.
int EscapedByte(std::string_view text, std::size_t at) {
    if (text.size() - at < 3 || text[at] != '\xED') {
        return -1;
    }
    const unsigned second = static_cast<unsigned char>(text[at + 1]);
    const unsigned third = static_cast<unsigned char>(text[at + 2]);
    if (second < 0xB0 || second > 0xB3 || third < 0x80 || third > 0xBF) {
        return -1;
    }
    return static_cast<int>((second - 0xB0) << 6 | (third - 0x80));
}

std::string_view WithoutTrailing(std::string_view part) {
    const std::size_t last = part.find_last_not_of(". ");
    return last == std::string_view::npos ? std::string_view() : part.substr(0, last + 1);
}

SysError CheckName(std::string_view name) {
    if (IsDeviceName(name)) {
        return SysError::FileNotFound;
    }
    return HostName(name) ? SysError::Success : SysError::InvalidName;
}

SysError CheckPattern(std::string_view pattern) {
    const bool bad = std::any_of(pattern.begin(), pattern.end(), [](char byte) {
        return IsReserved(byte) && std::string_view("*?<>\"").find(byte) == std::string_view::npos;
    });
    return bad ? SysError::InvalidName : SysError::Success;
}

// Adds the components of `rest` to `path`. A literal path (behind `\\?\`) has no `.`, `..` or trailing dots to treat.
SysError AddParts(WindowsPath& path, std::string_view rest, bool wildcards, bool literal) {
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find('\\'), rest.size());
        const std::string_view part = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        const bool last = rest.find_first_not_of('\\') == std::string_view::npos;
        if (part.empty()) {
            continue;
        }
        if (wildcards && last && part.find_first_of("*?<>\"") != std::string_view::npos) {
            if (const SysError error = CheckPattern(part); error != SysError::Success) {
                return error;
            }
            path.parts.emplace_back(part);
            continue;
        }
        if (literal) {
            // What Windows takes to the letter here is the name that was shown escaped.
            if (std::any_of(part.begin(), part.end(), IsReserved)) {
                return SysError::InvalidName;
            }
            path.parts.push_back(HostName(part) ? std::string(part) : ShownName(part));
            continue;
        }
        if (part == "..") {
            if (!path.parts.empty()) {
                path.parts.pop_back();
            }
            continue;
        }
        const std::string_view name = WithoutTrailing(part);
        if (name.empty()) {
            continue;  // "." and its like
        }
        if (const SysError error = CheckName(name); error != SysError::Success) {
            return error;
        }
        path.parts.emplace_back(name);
    }
    return SysError::Success;
}

}  // namespace

std::string WindowsPath::Text() const {
    std::string text{drive, ':'};
    for (const std::string& part : parts) {
        text += '\\';
        text += part;
    }
    if (parts.empty()) {
        text += '\\';
    }
    return text;
}

Result<WindowsPath> ParsePath(std::string_view path, const WindowsPath& current, bool wildcards) {
    path = path.substr(0, path.find('\0'));
    if (path.empty()) {
        return SysError::PathNotFound;
    }
    WindowsPath out;
    bool literal = false;
    if (path.starts_with("\\\\?\\") || path.starts_with("\\??\\")) {
        path.remove_prefix(4);
        literal = true;
        if (path.size() < 3 || path[1] != ':' || path[2] != '\\') {
            return SysError::PathNotFound;
        }
    } else if (path.starts_with("\\\\")) {
        return path.starts_with("\\\\.\\") ? SysError::FileNotFound : SysError::PathNotFound;
    }
    out.trailingBackslash = path.back() == '\\';
    if (path.size() >= 2 && path[1] == ':') {
        if (!IsLetter(path[0])) {
            return SysError::InvalidName;
        }
        out.drive = UpperLetter(path[0]);
        path.remove_prefix(2);
        if ((path.empty() || path[0] != '\\') && out.drive == current.drive) {
            out.parts = current.parts;
        }
    } else {
        out.drive = current.drive;
        if (path[0] != '\\') {
            out.parts = current.parts;
        }
    }
    if (const SysError error = AddParts(out, path, wildcards, literal); error != SysError::Success) {
        return error;
    }
    return out;
}

std::string ShownName(std::string_view hostName) {
    if (IsPlainName(hostName)) {
        return std::string(hostName);
    }
    std::string out;
    out.reserve(hostName.size());
    for (std::size_t at = 0; at < hostName.size();) {
        std::size_t length = CharacterLength(hostName, at);
        // A surrogate in the host's name is not valid there and goes byte by byte.
        if (length == 3 && hostName[at] == '\xED' && static_cast<unsigned char>(hostName[at + 1]) >= 0xA0) {
            length = 0;
        }
        if (length == 0 || (length == 1 && (IsReserved(hostName[at]) || hostName[at] == '\0'))) {
            AppendEscape(out, hostName[at++]);
        } else {
            out.append(hostName.substr(at, length));
            at += length;
        }
    }
    if (!out.empty() && (out.back() == '.' || out.back() == ' ')) {
        const char last = out.back();
        out.pop_back();
        AppendEscape(out, last);
    }
    if (IsDeviceName(out)) {
        std::string escaped;
        AppendEscape(escaped, out.front());
        out.replace(0, 1, escaped);
    }
    return out;
}

bool IsPlainName(std::string_view name) {
    constexpr std::size_t Longest = 255;
    if (name.empty() || name.size() > Longest || name.back() == '.' || name.back() == ' ') {
        return false;
    }
    bool plain = true;
    for (const char byte : name) {
        plain &= PlainBytes[static_cast<unsigned char>(byte)];
    }
    return plain && !IsDeviceName(name);
}

std::optional<std::string> HostName(std::string_view name) {
    if (IsPlainName(name)) {
        return std::string(name);
    }
    std::string host;
    host.reserve(name.size());
    for (std::size_t at = 0; at < name.size();) {
        const int byte = EscapedByte(name, at);
        if (byte == 0 || byte == '/') {
            return std::nullopt;
        }
        host.push_back(byte < 0 ? name[at] : static_cast<char>(byte));
        at += byte < 0 ? 1 : 3;
    }
    if (host.empty() || host == "." || host == ".." || ShownName(host) != name) {
        return std::nullopt;
    }
    return host;
}

bool IsDeviceName(std::string_view name) {
    // Most names end here: no device begins with other letters.
    const auto letter = [name](std::size_t at) { return static_cast<unsigned>(UpperLetter(name[at])); };
    constexpr auto Three = [](unsigned first, unsigned second, unsigned third) {
        return first << 16 | second << 8 | third;
    };
    if (name.size() < 3) {
        return false;
    }
    switch (Three(letter(0), letter(1), letter(2))) {
        case Three('C', 'O', 'N'):
        case Three('P', 'R', 'N'):
        case Three('A', 'U', 'X'):
        case Three('N', 'U', 'L'):
        case Three('C', 'O', 'M'):
        case Three('L', 'P', 'T'):
            break;
        default:
            return false;
    }
    std::string_view stem = name.substr(0, name.find('.'));
    const std::size_t last = stem.find_last_not_of(' ');
    stem = last == std::string_view::npos ? std::string_view() : stem.substr(0, last + 1);
    if (stem.size() < 3 || stem.size() > 7) {
        return false;
    }
    // No other letter becomes one of these in upper case.
    const auto is = [](std::string_view text, std::string_view device) {
        return std::equal(text.begin(), text.end(), device.begin(), device.end(),
                          [](char left, char right) { return UpperLetter(left) == right; });
    };
    for (const std::string_view device : {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$"}) {
        if (is(stem, device)) {
            return true;
        }
    }
    if (!is(stem.substr(0, 3), "COM") && !is(stem.substr(0, 3), "LPT")) {
        return false;
    }
    const std::string_view number = stem.substr(3);
    return (number.size() == 1 && number[0] >= '1' && number[0] <= '9') || number == "\u00B9" || number == "\u00B2" ||
           number == "\u00B3";
}

bool IsShortName(std::string_view name) {
    const std::size_t dot = name.find('.');
    const std::string_view stem = name.substr(0, dot);
    const std::string_view extension = dot == std::string_view::npos ? std::string_view() : name.substr(dot + 1);
    const auto allowed = [](char byte) {
        return static_cast<unsigned char>(byte) > 0x20 && static_cast<unsigned char>(byte) < 0x80 &&
               std::string_view("+,;=[].").find(byte) == std::string_view::npos && !IsReserved(byte);
    };
    return !stem.empty() && stem.size() <= 8 && extension.size() <= 3 &&
           (dot == std::string_view::npos || !extension.empty()) && std::all_of(stem.begin(), stem.end(), allowed) &&
           std::all_of(extension.begin(), extension.end(), allowed);
}

}  // namespace kel::offline
