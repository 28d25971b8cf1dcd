#include "offline/ProgramResources.h"

#include <algorithm>
#include <optional>
#include <span>
#include <vector>

namespace kel::offline {

using platform::Result;
using platform::SysError;

namespace {

constexpr std::uint32_t VersionType = 16;
constexpr std::uint32_t MaximumEntries = 4096;  // of one table; a file with more is made up

std::uint32_t Word(std::string_view bytes, std::size_t at) {
    return at + 2 > bytes.size() ? 0U
                                 : static_cast<unsigned char>(bytes[at]) |
                                       static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[at + 1])) << 8U;
}

std::uint32_t Dword(std::string_view bytes, std::size_t at) {
    return Word(bytes, at) | Word(bytes, at + 2) << 16U;
}

// Reads ranges of a file; a range that the file does not have whole comes out shorter.
class Reader {
public:
    explicit Reader(platform::OpenFile& file) : file_(file) {}

    std::string Range(std::uint64_t offset, std::uint32_t length) {
        std::string bytes(length, '\0');
        std::size_t got = 0;
        if (file_.Seek(offset) != SysError::Success) {
            return {};
        }
        while (got < bytes.size()) {
            auto read = file_.Read(std::as_writable_bytes(std::span(bytes).subspan(got)));
            if (!read) {
                error_ = read.Error();
                break;
            }
            if (*read == 0) {
                break;
            }
            got += *read;
        }
        bytes.resize(got);
        return bytes;
    }

    /// The failure of a read, or that there is no version resource.
    [[nodiscard]] SysError Reason() const {
        return error_ == SysError::Success ? SysError::ResourceTypeNotFound : error_;
    }

private:
    platform::OpenFile& file_;
    SysError error_ = SysError::Success;
};

struct Section {
    std::uint32_t address;
    std::uint32_t size;
    std::uint32_t fileOffset;
};

std::optional<std::uint64_t> FileOffset(const std::vector<Section>& sections, std::uint32_t address) {
    for (const Section& section : sections) {
        if (address >= section.address && address - section.address < section.size) {
            return std::uint64_t{section.fileOffset} + (address - section.address);
        }
    }
    return std::nullopt;
}

// Entry of a resource directory: with the wanted number, or simply the first.
std::optional<std::uint32_t> DirectoryEntry(Reader& reader, std::uint64_t directory, std::optional<std::uint32_t> id) {
    const std::string head = reader.Range(directory, 16);
    if (head.size() < 16) {
        return std::nullopt;
    }
    const std::uint32_t count = std::min(Word(head, 12) + Word(head, 14), MaximumEntries);
    const std::string entries = reader.Range(directory + 16, count * 8);
    for (std::size_t at = 0; at + 8 <= entries.size(); at += 8) {
        if (!id || Dword(entries, at) == *id) {
            return Dword(entries, at + 4);
        }
    }
    return std::nullopt;
}

std::optional<std::string> FromPe(Reader& reader, std::uint32_t headerAt) {
    const std::string header = reader.Range(headerAt, 24 + 240);
    const bool plus = Word(header, 24) == 0x20B;
    if (header.size() < 24 + 96 || (!plus && Word(header, 24) != 0x10B)) {
        return std::nullopt;
    }
    const std::size_t directories = plus ? 24 + 112 : 24 + 96;
    constexpr std::size_t resourceDirectory = 2;
    if (Dword(header, directories - 4) <= resourceDirectory) {
        return std::nullopt;
    }
    const std::uint32_t root = Dword(header, directories + 8 * resourceDirectory);

    const std::uint32_t count = std::min(Word(header, 6), 256U);
    const std::string table = reader.Range(std::uint64_t{headerAt} + 24 + Word(header, 20), count * 40);
    std::vector<Section> sections;
    for (std::size_t at = 0; at + 40 <= table.size(); at += 40) {
        sections.push_back(
            {Dword(table, at + 12), std::max(Dword(table, at + 8), Dword(table, at + 16)), Dword(table, at + 20)});
    }
    const auto base = FileOffset(sections, root);
    if (root == 0 || !base) {
        return std::nullopt;
    }
    // Type, name, language: three levels, each entry but the last one leading to a directory.
    constexpr std::uint32_t isDirectory = 0x80000000U;
    std::uint64_t place = *base;
    for (int level = 0; level < 3; ++level) {
        const auto wanted = level == 0 ? std::optional<std::uint32_t>(VersionType) : std::nullopt;
        const auto entry = DirectoryEntry(reader, place, wanted);
        if (!entry || ((*entry & isDirectory) != 0) != (level < 2)) {
            return std::nullopt;
        }
        place = *base + (*entry & ~isDirectory);
    }
    const std::string data = reader.Range(place, 16);
    const auto offset = data.size() < 16 ? std::nullopt : FileOffset(sections, Dword(data, 0));
    if (!offset) {
        return std::nullopt;
    }
    return reader.Range(*offset, std::min(Dword(data, 4), MaximumVersionResource));
}

std::optional<std::string> FromNe(Reader& reader, std::uint32_t headerAt) {
    const std::string header = reader.Range(headerAt, 64);
    const std::uint32_t offset = Word(header, 36);
    if (header.size() < 64 || offset == 0 || offset >= Word(header, 38)) {
        return std::nullopt;
    }
    const std::string table = reader.Range(std::uint64_t{headerAt} + offset, 0x10000);
    const std::uint32_t shift = Word(table, 0);
    if (shift > 15) {
        return std::nullopt;
    }
    for (std::size_t at = 2; at + 8 <= table.size() && Word(table, at) != 0;) {
        const std::uint32_t count = Word(table, at + 2);
        if (Word(table, at) == (0x8000U | VersionType) && count > 0 && at + 20 <= table.size()) {
            const std::uint64_t place = std::uint64_t{Word(table, at + 8)} << shift;
            const std::uint64_t length = std::uint64_t{Word(table, at + 10)} << shift;
            return reader.Range(place,
                                static_cast<std::uint32_t>(std::min<std::uint64_t>(length, MaximumVersionResource)));
        }
        at += 8 + std::size_t{count} * 12;
    }
    return std::nullopt;
}

}  // namespace

Result<std::string> ReadVersionResource(platform::OpenFile& file) {
    Reader reader(file);
    const std::string dos = reader.Range(0, 64);
    if (dos.size() == 64 && dos.starts_with("MZ")) {
        const std::uint32_t headerAt = Dword(dos, 60);
        const std::string signature = reader.Range(headerAt, 4);
        const auto bytes = signature == std::string_view("PE\0\0", 4) ? FromPe(reader, headerAt)
                           : signature.starts_with("NE")              ? FromNe(reader, headerAt)
                                                                      : std::nullopt;
        if (bytes && !bytes->empty()) {
            return *bytes;
        }
    }
    return reader.Reason();
}

}  // namespace kel::offline
