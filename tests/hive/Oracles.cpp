#include "Oracles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>

#include "HiveFixture.h"

namespace kel::test {

using offline::Hive;
using offline::KeyId;
using offline::TreeValue;
using offline::regf::NameView;
using Lines = std::vector<std::string>;

namespace {

std::optional<std::string> OutputOf(const std::string& command) {
    FILE* pipe = ::popen((command + " 2>/dev/null").c_str(), "r");
    if (pipe == nullptr)
        return std::nullopt;
    std::string text;
    std::array<char, 1 << 16> buffer{};
    for (std::size_t got = 0; (got = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0;)
        text.append(buffer.data(), got);
    return ::pclose(pipe) == 0 ? std::optional(text) : std::nullopt;
}

std::string Base64(const Bytes& bytes) {
    constexpr std::string_view Digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t left = std::min<std::size_t>(3, bytes.size() - i);
        unsigned group = 0;
        for (std::size_t k = 0; k < 3; ++k)
            group = group << 8 | (k < left ? static_cast<unsigned>(bytes[i + k]) : 0);
        for (std::size_t k = 0; k < 4; ++k)
            out += k <= left ? Digits[group >> (18 - 6 * k) & 63] : '=';
    }
    return out;
}

std::uint64_t Number(const Bytes& data) {
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < data.size() && i < 8; ++i)
        number |= static_cast<std::uint64_t>(data[i]) << (8 * i);
    return number;
}

/// Text up to its terminator.
std::u16string TextOf(const Bytes& data) {
    std::u16string text;
    for (std::size_t i = 0; i + 1 < data.size(); i += 2) {
        const auto unit =
            static_cast<char16_t>(static_cast<unsigned>(data[i]) | static_cast<unsigned>(data[i + 1]) << 8);
        if (unit == 0)
            break;
        text += unit;
    }
    return text;
}

std::string Attribute(const std::string& tag, const std::string& name) {
    const std::string wanted = " " + name + "=\"";
    const std::size_t at = tag.find(wanted);
    if (at == std::string::npos)
        return {};
    const std::size_t begin = at + wanted.size();
    std::string raw = tag.substr(begin, tag.find('"', begin) - begin);
    for (const auto& [entity, character] : {std::pair<std::string, char>{"&quot;", '"'},
                                            {"&lt;", '<'},
                                            {"&gt;", '>'},
                                            {"&#9;", '\t'},
                                            {"&#10;", '\n'},
                                            {"&#13;", '\r'},
                                            {"&amp;", '&'}}) {
        for (std::size_t found = 0; (found = raw.find(entity, found)) != std::string::npos; ++found)
            raw.replace(found, entity.size(), 1, character);
    }
    return raw;
}

std::string WithoutNewlines(std::string text) {
    std::erase_if(text, [](char c) { return c == '\n' || c == '\r'; });
    return text;
}

/// Whether the data are ASCII text with one terminator: other text each program shows in a way of its own.
bool IsPlainText(const Bytes& data) {
    const std::u16string text = TextOf(data);
    return data.size() == (text.size() + 1) * 2 &&
           std::all_of(text.begin(), text.end(), [](char16_t unit) { return unit >= 0x20 && unit < 0x7F; });
}

/// What comes of one value in both programs' terms. Lists of strings and other types are compared by name and type.
std::string HivexValue(const TreeValue& value) {
    switch (value.type) {
        case 1:
            return "string " + Utf8(TextOf(value.data));
        case 2:
            return "expand " + Utf8(TextOf(value.data));
        case 0:
        case 3:
            return (value.type == 0 ? "none " : "binary ") + Base64(value.data);
        case 4:
            return "int32 " + std::to_string(static_cast<std::int32_t>(Number(value.data)));
        case 11:
            return "int64 " + std::to_string(static_cast<std::int64_t>(Number(value.data)));
        case 7:
            return "string-list";
        default:
            return "other";
    }
}

std::string Unquote(const std::string& text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size()) {
            out += static_cast<char>(std::strtol(text.substr(i + 1, 2).c_str(), nullptr, 16));
            i += 2;
        } else {
            out += text[i];
        }
    }
    return out;
}

std::string RawText(const Bytes& bytes) {
    std::string text;
    for (const std::byte byte : bytes)
        text += static_cast<char>(byte);
    return text;
}

std::string ReglookupValue(const TreeValue& value) {
    std::array<char, 32> number{};
    // It puts segments together in the order of their places in the file, whatever their list says.
    const bool segments = value.data.size() > offline::regf::db::SegmentSize;
    switch (value.type) {
        case 1:
        case 2:
            return std::string(value.type == 1 ? "SZ" : "EXPAND_SZ") +
                   (IsPlainText(value.data) ? " " + Utf8(TextOf(value.data)) : "");
        case 3:
            return segments ? "BINARY" : "BINARY " + (value.data.empty() ? "(null)" : RawText(value.data));
        case 0:
            return segments ? "NONE" : "NONE " + (value.data.empty() ? "(null)" : RawText(value.data));
        case 4:
            std::snprintf(number.data(), number.size(), "DWORD 0x%08llX",
                          static_cast<unsigned long long>(Number(value.data)));
            return number.data();
        case 11:
            std::snprintf(number.data(), number.size(), "QWORD 0x%016llX",
                          static_cast<unsigned long long>(Number(value.data)));
            return number.data();
        case 7:
            return "MULTI_SZ";
        default:
            return "other";
    }
}

/// Their lines of values that we list without data, because theirs can't be compared, lose them.
void DropWhatIsNotCompared(Lines& theirs, const Lines& ours) {
    for (std::string& line : theirs) {
        for (const std::string type : {" SZ", " EXPAND_SZ", " BINARY", " NONE"}) {
            const std::size_t at = line.find(type + " ");
            if (line.starts_with("value ") && at != std::string::npos &&
                std::binary_search(ours.begin(), ours.end(), line.substr(0, at + type.size())))
                line.resize(at + type.size());
        }
    }
    std::sort(theirs.begin(), theirs.end());
}

template <class NameText, class ValueText>
Lines Expected(const Hive& hive, const char* separator, const NameText& nameText, const ValueText& valueText) {
    const offline::regf::HiveReader& reader = hive.Reader();
    Lines lines;
    std::vector<std::pair<KeyId, std::string>> pending{{hive.Root(), ""}};
    std::vector<std::uint32_t> found;
    while (!pending.empty()) {
        const auto [key, path] = pending.back();
        pending.pop_back();
        lines.push_back("key " + (path.empty() ? separator : path));
        reader.Values(key, found);
        for (const std::uint32_t cell : found) {
            TreeValue value;
            value.type = reader.ValueType(cell);
            const bool whole = reader.Data(cell, value.data);
            lines.push_back("value " + path + separator + nameText(reader.ValueName(cell)) + " " +
                            (whole ? valueText(value) : "unreadable"));
        }
        reader.Subkeys(key, found);
        for (const std::uint32_t below : found)
            pending.emplace_back(below, path + separator + nameText(reader.KeyName(below)));
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

void ExpectSame(const std::optional<Lines>& theirs, const Lines& ours, const std::string& who) {
    ASSERT_TRUE(theirs.has_value()) << who << " refuses the hive";
    EXPECT_EQ(Difference(*theirs, ours), "") << who;
}

}  // namespace

std::optional<Lines> HivexContent(const std::filesystem::path& file) {
    const auto xml = OutputOf("hivexml '" + file.string() + "'");
    if (!xml)
        return std::nullopt;
    Lines lines;
    std::vector<std::string> path;  // of the node at hand and those above; the root's is empty
    for (std::size_t at = xml->find('<'); at != std::string::npos; at = xml->find('<', at + 1)) {
        const std::string tag = xml->substr(at, xml->find('>', at) - at);
        if (tag.starts_with("<node ")) {
            path.push_back(path.empty() ? "" : path.back() + "\\" + Attribute(tag, "name"));
            lines.push_back("key " + (path.size() == 1 ? "\\" : path.back()));
            if (tag.ends_with("/"))
                path.pop_back();
        } else if (tag.starts_with("</node")) {
            path.pop_back();
        } else if (tag.starts_with("<value ")) {
            std::string type = Attribute(tag, "type");
            const bool list = type == "string-list";
            const bool known = list || type == "string" || type == "expand" || type == "none" || type == "binary" ||
                               type == "int32" || type == "int64";
            std::string text = type + (list ? "" : " " + Attribute(tag, "value"));
            if (!known)
                text = "other";
            else if (type == "none" || type == "binary")
                text = WithoutNewlines(text);
            lines.push_back("value " + path.back() + "\\" + Attribute(tag, "key") + " " + text);
        }
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

std::optional<Lines> ReglookupContent(const std::filesystem::path& file) {
    const auto text = OutputOf("reglookup '" + file.string() + "'");
    if (!text)
        return std::nullopt;
    Lines lines;
    std::size_t at = text->find('\n') + 1;  // behind the line of the columns' names
    for (std::size_t end = 0; (end = text->find('\n', at)) != std::string::npos; at = end + 1) {
        std::array<std::string, 4> columns;
        std::size_t column = 0;
        for (std::size_t i = at; i < end; ++i) {
            if ((*text)[i] == ',' && column < 3)
                ++column;
            else
                columns[column] += (*text)[i];
        }
        std::string name = Unquote(columns[0]);
        if (name.starts_with("//"))
            name.erase(0, 1);  // so it writes values of the root
        const std::string& type = columns[1];
        if (type == "KEY")
            lines.push_back("key " + name);
        else if (type == "MULTI_SZ")
            lines.push_back("value " + name + " MULTI_SZ");
        else if (type == "SZ" || type == "EXPAND_SZ" || type == "BINARY" || type == "NONE" || type == "DWORD" ||
                 type == "QWORD")
            lines.push_back("value " + name + " " + type + " " + Unquote(columns[2]));
        else
            lines.push_back("value " + name + " other");
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

Lines ForHivex(const Hive& hive) {
    return Expected(
        hive, "\\", [](const NameView& name) { return Utf8(name.Text()); }, HivexValue);
}

Lines ForReglookup(const Hive& hive) {
    // It shows names as the bytes that are stored.
    const auto raw = [](const NameView& name) {
        return std::string(reinterpret_cast<const char*>(name.Bytes()), name.Length() * (name.Compressed() ? 1 : 2));
    };
    return Expected(hive, "/", raw, ReglookupValue);
}

bool OraclesInstalled() {
    return OutputOf("command -v hivexml && command -v reglookup").has_value();
}

void ExpectOraclesAgree(Hive& hive, const std::string& when) {
    const Bytes bytes = Written(hive);
    const TemporaryFile file(bytes);
    SCOPED_TRACE(when);
    ExpectSame(HivexContent(file.Path()), ForHivex(hive), "hivexml");
    auto theirs = ReglookupContent(file.Path());
    const Lines ours = ForReglookup(hive);
    if (theirs)
        DropWhatIsNotCompared(*theirs, ours);
    ExpectSame(theirs, ours, "reglookup");
}

}  // namespace kel::test
