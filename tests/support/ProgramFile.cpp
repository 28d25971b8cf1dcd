#include "support/ProgramFile.h"

#include <array>
#include <cstddef>
#include <string_view>

namespace kel::test {

namespace {

constexpr std::uint32_t FixedSignature = 0xFEEF04BD;
constexpr std::size_t PeOffset = 64;
constexpr std::size_t SectionFileOffset = 0x200;
constexpr std::uint32_t SectionAddress = 0x1000;
constexpr std::uint32_t TypeVersion = 16;
constexpr std::uint32_t Subdirectory = 0x80000000U;

// Bytes in the order of the platform.
class Writer {
public:
    Writer& Word(std::uint32_t value) { return Number(value, 2); }
    Writer& Dword(std::uint32_t value) { return Number(value, 4); }
    Writer& Dwords(std::initializer_list<std::uint32_t> values) {
        for (const std::uint32_t value : values) {
            Dword(value);
        }
        return *this;
    }
    Writer& Raw(std::string_view bytes) {
        bytes_ += bytes;
        return *this;
    }
    Writer& PadTo(std::size_t multiple) {
        bytes_.resize((bytes_.size() + multiple - 1) / multiple * multiple);
        return *this;
    }
    Writer& FillTo(std::size_t size) {
        bytes_.resize(size);
        return *this;
    }
    Writer& Text(std::string_view latin1, bool wide) {
        for (const char c : latin1) {
            bytes_ += c;
            if (wide) {
                bytes_ += '\0';
            }
        }
        bytes_.append(wide ? 2 : 1, '\0');
        return *this;
    }
    void Patch(std::size_t at, std::uint32_t word) {
        bytes_[at] = static_cast<char>(word);
        bytes_[at + 1] = static_cast<char>(word >> 8);
    }
    [[nodiscard]] const std::string& Bytes() const { return bytes_; }
    [[nodiscard]] std::size_t Size() const { return bytes_.size(); }

private:
    Writer& Number(std::uint32_t value, int count) {
        for (int byte = 0; byte < count; ++byte) {
            bytes_ += static_cast<char>(value >> (8 * byte));
        }
        return *this;
    }
    std::string bytes_;
};

// One node of the resource: length, length of the value, kind of the value (not in 16-bit files), key, value, children.
std::string Node(bool wide, std::string_view key, std::string_view value, std::size_t valueLength, bool text,
                 const std::vector<std::string>& children) {
    Writer node;
    node.Word(0).Word(static_cast<std::uint32_t>(valueLength));
    if (wide) {
        node.Word(text ? 1 : 0);
    }
    node.Text(key, wide).PadTo(4).Raw(value);
    for (const std::string& child : children) {
        node.PadTo(4).Raw(child);
    }
    node.Patch(0, static_cast<std::uint32_t>(node.Size()));
    return node.Bytes();
}

std::string StringNode(bool wide, const std::string& name, const std::string& text) {
    Writer value;
    if (!text.empty()) {
        value.Text(text, wide);
    }
    const std::size_t length = wide ? value.Size() / 2 : value.Size();
    return Node(wide, name, value.Bytes(), length, true, {});
}

std::string HexName(const VersionTable& table) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string name;
    for (const std::uint16_t word : {table.language, table.codePage}) {
        for (int shift = 12; shift >= 0; shift -= 4) {
            name += digits[static_cast<std::size_t>(word >> shift) & 0xFU];
        }
    }
    return name;
}

std::string ResourceSection(const std::string& block) {
    constexpr std::uint32_t typeLevel = 24;
    constexpr std::uint32_t nameLevel = 48;
    constexpr std::uint32_t entry = 72;
    constexpr std::uint32_t data = 88;
    constexpr std::uint32_t oneIdentifier = 0x00010000;
    Writer section;
    section.Dwords({0, 0, 0, oneIdentifier, TypeVersion, Subdirectory | typeLevel});
    section.Dwords({0, 0, 0, oneIdentifier, 1, Subdirectory | nameLevel});
    section.Dwords({0, 0, 0, oneIdentifier, 0x0409, entry});
    section.Dwords({SectionAddress + data, static_cast<std::uint32_t>(block.size()), 0, 0});
    section.Raw(block).PadTo(SectionFileOffset);
    return section.Bytes();
}

std::string DosHeader() {
    Writer header;
    header.Raw("MZ").FillTo(0x3C).Dword(PeOffset);
    return header.Bytes();
}

std::string PortableProgram(bool plus, const std::string& section) {
    const auto sectionSize = static_cast<std::uint32_t>(section.size());
    constexpr std::uint32_t dll = 0x2102;
    constexpr std::uint32_t directories = 16;
    Writer file;
    file.Raw(DosHeader()).Raw(std::string_view("PE\0\0", 4));
    file.Word(plus ? 0x8664 : 0x014C).Word(section.empty() ? 0 : 1).Dwords({0, 0, 0});
    file.Word(plus ? 240 : 224).Word(dll);
    file.Word(plus ? 0x20B : 0x10B).Word(0).Dwords({0, sectionSize, 0, 0, SectionAddress});
    if (plus) {
        file.Dwords({0x40000000, 1});
    } else {
        file.Dwords({SectionAddress, 0x10000000});
    }
    file.Dwords({0x1000, 0x200, 4, 0, 4, 0, 0x2000, SectionFileOffset, 0}).Word(2).Word(0);
    for (int size = 0; size < 4; ++size) {
        file.Dword(0x1000);
        if (plus) {
            file.Dword(0);
        }
    }
    file.Dwords({0, directories, 0, 0, 0, 0, section.empty() ? 0 : SectionAddress, sectionSize});
    for (std::uint32_t directory = 3; directory < directories; ++directory) {
        file.Dwords({0, 0});
    }
    if (!section.empty()) {
        file.Raw(std::string_view(".rsrc\0\0\0", 8));
        file.Dwords({sectionSize, SectionAddress, sectionSize, SectionFileOffset, 0, 0, 0, 0x40000040});
    }
    file.FillTo(SectionFileOffset).Raw(section);
    return file.Bytes();
}

std::string SixteenBitProgram(const std::string& block) {
    constexpr std::uint32_t tableOffset = 64;  // from the NE header
    constexpr std::uint32_t shift = 4;
    constexpr std::uint32_t identifier = 0x8000;
    Writer file;
    file.Raw(DosHeader()).Raw("NE").FillTo(PeOffset + 0x22);
    const bool hasResources = !block.empty();
    const std::uint32_t tableSize = hasResources ? 2 + 8 + 12 + 2 + 1 : 0;
    file.Word(0x40).Word(tableOffset).Word(tableOffset + tableSize).FillTo(PeOffset + 0x24);
    file.Word(tableOffset).Word(tableOffset + tableSize).FillTo(PeOffset + 0x36);
    file.Raw("\x02").FillTo(PeOffset + tableOffset);
    if (hasResources) {
        const auto length = static_cast<std::uint32_t>((block.size() + 15) >> shift);
        file.Word(shift).Word(identifier | TypeVersion).Word(1).Dword(0);
        file.Word(SectionFileOffset >> shift).Word(length).Word(0x0C30).Word(identifier | 1).Dword(0);
        file.Word(0).Raw(std::string_view("\0", 1));
        file.FillTo(SectionFileOffset).Raw(block).PadTo(std::size_t{1} << shift);
    }
    file.PadTo(SectionFileOffset);
    return file.Bytes();
}

}  // namespace

std::string MakeVersionBlock(ProgramKind kind, const VersionRecord& record) {
    const bool wide = kind != ProgramKind::Ne;
    Writer fixed;
    fixed.Dwords({FixedSignature, 0x00010000, record.fileVersionHigh, record.fileVersionLow, record.productVersionHigh,
                  record.productVersionLow, 0x3F, 0, 0x00040004, record.fileType, 0, 0, 0});
    std::vector<std::string> tables;
    Writer translations;
    for (const VersionTable& table : record.tables) {
        std::vector<std::string> strings;
        for (const auto& [name, text] : table.strings) {
            strings.push_back(StringNode(wide, name, text));
        }
        tables.push_back(Node(wide, HexName(table), {}, 0, true, strings));
        if (record.translations.empty()) {
            translations.Word(table.language).Word(table.codePage);
        }
    }
    for (const auto& [language, codePage] : record.translations) {
        translations.Word(language).Word(codePage);
    }
    std::vector<std::string> children;
    if (!tables.empty()) {
        children.push_back(Node(wide, "StringFileInfo", {}, 0, true, tables));
    }
    if (translations.Size() != 0) {
        const std::string list = Node(wide, "Translation", translations.Bytes(), translations.Size(), false, {});
        children.push_back(Node(wide, "VarFileInfo", {}, 0, true, {list}));
    }
    return Node(wide, "VS_VERSION_INFO", fixed.Bytes(), fixed.Size(), false, children);
}

std::string MakeProgram(ProgramKind kind, const VersionRecord& record) {
    const std::string block = MakeVersionBlock(kind, record);
    return kind == ProgramKind::Ne ? SixteenBitProgram(block)
                                   : PortableProgram(kind == ProgramKind::Pe32Plus, ResourceSection(block));
}

std::string MakeProgramWithoutVersion(ProgramKind kind) {
    return kind == ProgramKind::Ne ? SixteenBitProgram({}) : PortableProgram(kind == ProgramKind::Pe32Plus, {});
}

}  // namespace kel::test
