#include "HiveFixture.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "hive/NewHive.h"

namespace kel::test {

using offline::Hive;
using offline::KeyId;
using offline::NoKey;
using offline::RegistryTree;

std::unique_ptr<Hive> ReadHive(std::span<const std::byte> bytes, const std::vector<offline::regf::LogFile>& logs) {
    offline::regf::HiveImage image;
    EXPECT_TRUE(image.Assign(bytes));
    auto hive = std::make_unique<Hive>(std::move(image), logs);
    hive->SetClock([] { return Now; });
    return hive;
}

std::unique_ptr<Hive> NewHive(std::uint32_t minor) {
    return ReadHive(offline::regf::MakeHive(minor, u"ROOT", Now));
}

Bytes Written(Hive& hive) {
    const std::span<const std::byte> bytes = hive.Render();
    return {bytes.begin(), bytes.end()};
}

KeyId At(const RegistryTree& tree, std::u16string_view path) {
    KeyId key = tree.Root();
    while (!path.empty() && key != NoKey) {
        const std::size_t end = std::min(path.find(u'\\'), path.size());
        key = tree.FindKey(key, path.substr(0, end));
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return key;
}

KeyId Make(RegistryTree& tree, std::u16string_view path) {
    KeyId key = tree.Root();
    while (!path.empty()) {
        const std::size_t end = std::min(path.find(u'\\'), path.size());
        const auto made = tree.CreateKey(key, path.substr(0, end));
        EXPECT_TRUE(made.Ok()) << static_cast<int>(made.Error());
        key = made.ValueOr(tree.Root());
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return key;
}

Bytes Pattern(std::size_t size, unsigned seed) {
    Bytes bytes(size);
    std::uint32_t state = seed * 2654435761U + 1;
    for (std::byte& byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<std::byte>(state >> 24);
    }
    return bytes;
}

Bytes Text(std::u16string_view text) {
    Bytes bytes;
    for (const char16_t unit : std::u16string(text) + u'\0') {
        bytes.push_back(static_cast<std::byte>(unit & 0xFF));
        bytes.push_back(static_cast<std::byte>(unit >> 8));
    }
    return bytes;
}

std::string Utf8(std::u16string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t c = text[i];
        if (c >= 0xD800 && c < 0xDC00 && i + 1 < text.size())
            c = 0x10000 + ((c & 0x3FF) << 10) + (text[++i] & 0x3FF);
        if (c < 0x80) {
            out += static_cast<char>(c);
            continue;
        }
        const int more = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
        const unsigned lead = more == 1 ? 0xC0 : more == 2 ? 0xE0 : 0xF0;
        out += static_cast<char>(lead | (c >> (6 * more)));
        for (int k = more - 1; k >= 0; --k)
            out += static_cast<char>(0x80U | ((c >> (6 * k)) & 0x3FU));
    }
    return out;
}

std::string Hex(std::span<const std::byte> bytes) {
    std::string out;
    for (const std::byte byte : bytes) {
        out += "0123456789abcdef"[static_cast<unsigned>(byte) >> 4];
        out += "0123456789abcdef"[static_cast<unsigned>(byte) & 15];
    }
    return out;
}

std::vector<std::string> Content(const RegistryTree& tree, bool times) {
    std::vector<std::string> lines;
    std::vector<std::pair<KeyId, std::string>> pending{{tree.Root(), ""}};
    while (!pending.empty()) {
        const auto [key, path] = pending.back();
        pending.pop_back();
        lines.push_back(path + "\\ class " + Utf8(tree.ClassName(key)) +
                        (times ? " time " + std::to_string(tree.LastWritten(key)) : ""));
        for (std::uint32_t i = 0; i < tree.ValueCount(key); ++i) {
            const auto value = tree.ValueAt(key, i);
            lines.push_back(value.Ok() ? path + "\\ value " + Utf8(value->name) + " type " +
                                             std::to_string(value->type) + " data " + Hex(value->data)
                                       : path + "\\ unreadable value");
        }
        for (std::uint32_t i = 0; i < tree.KeyCount(key); ++i) {
            const KeyId below = tree.KeyAt(key, i);
            pending.emplace_back(below, path + "\\" + Utf8(tree.KeyName(below)));
        }
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

std::string Difference(const std::vector<std::string>& left, const std::vector<std::string>& right) {
    std::vector<std::string> onlyLeft;
    std::vector<std::string> onlyRight;
    std::set_difference(left.begin(), left.end(), right.begin(), right.end(), std::back_inserter(onlyLeft));
    std::set_difference(right.begin(), right.end(), left.begin(), left.end(), std::back_inserter(onlyRight));
    if (onlyLeft.empty() && onlyRight.empty())
        return {};
    return std::to_string(onlyLeft.size()) + " only left " + (onlyLeft.empty() ? "" : onlyLeft.front()) + "\n" +
           std::to_string(onlyRight.size()) + " only right " + (onlyRight.empty() ? "" : onlyRight.front());
}

std::string ListForm(const Hive& hive, KeyId key) {
    const offline::regf::HiveReader& reader = hive.Reader();
    if (reader.StatedSubkeys(key) == 0)
        return {};
    const auto letters = [&](std::uint32_t list) {
        const std::byte* record = reader.Record(list);
        return std::string{static_cast<char>(record[0]), static_cast<char>(record[1])};
    };
    const std::uint32_t list = offline::regf::Load32(reader.Record(key) + offline::regf::nk::SubkeyListAt);
    std::string form = letters(list);
    if (form != "ri")
        return form;
    const std::byte* record = reader.Record(list);
    form += '(';
    for (std::size_t i = 0; i < offline::regf::Load16(record + 2); ++i)
        form += (i == 0 ? "" : ",") + letters(offline::regf::Load32(record + 4 + i * 4));
    return form + ')';
}

TemporaryFile::TemporaryFile(std::span<const std::byte> bytes) {
    std::string name = (std::filesystem::temp_directory_path() / "kel-hive-XXXXXX").string();
    const int file = ::mkstemp(name.data());
    EXPECT_GE(file, 0);
    path_ = name;
    EXPECT_EQ(::write(file, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    ::close(file);
}

TemporaryFile::~TemporaryFile() {
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
}

Bytes ReadFileBytes(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    Bytes bytes(text.size());
    std::transform(text.begin(), text.end(), bytes.begin(), [](char c) { return static_cast<std::byte>(c); });
    return bytes;
}

}  // namespace kel::test
