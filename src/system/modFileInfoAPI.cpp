#include "system/modFileInfoAPI.h"

#include <algorithm>
#include <array>
#include <optional>

#include "core/Failures.h"
#include "core/Text.h"
#include "platform/Platform.h"
#include "system/modFiles.h"

namespace kel::modFileInfoAPI {

namespace {

constexpr std::string_view Module = "modFileInfoAPI";
constexpr std::uint32_t MaxBlock = 64000;

constexpr std::uint32_t EnglishUS = 1033;
constexpr std::string_view FallbackCode = "040904E4";

// Places of the fixed block's words, in bytes.
constexpr std::size_t FileVersionHigh = 8;
constexpr std::size_t FileVersionLow = 12;
constexpr std::size_t ProductVersionHigh = 16;
constexpr std::size_t FileTypeAt = 36;

// By number. The quotes at the end of some are meant: reports show them.
constexpr std::array<std::string_view, 8> FileTypes{
    "Unknown",
    "Application",
    "Dynamic link library",
    R"(Device driver ")",
    R"(Font resource ")",
    R"(Virtual device ")",
    "",
    R"(Static link library ")",
};

struct InfoString {
    std::string_view name;
    std::string FileVersionInfo::*field;
};
constexpr std::array InfoStrings{
    InfoString{"CompanyName", &FileVersionInfo::CompanyName},
    InfoString{"LegalCopyright", &FileVersionInfo::LegalCopyright},
    InfoString{"FileDescription", &FileVersionInfo::FileDescription},
    InfoString{"FileVersion", &FileVersionInfo::FileVersion},
    InfoString{"InternalName", &FileVersionInfo::InternalName},
};

// A little-endian number of `size` bytes; bytes behind the end count as 0.
std::uint32_t NumberAt(std::string_view bytes, std::size_t at, std::size_t size) {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < size && at + i < bytes.size(); ++i) {
        number |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[at + i])) << (8 * i);
    }
    return number;
}

std::string Hex4(std::uint32_t number) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    for (unsigned shift = 16; shift != 0;) {
        shift -= 4;
        text += digits[number >> shift & 15U];
    }
    return text;
}

// Language and code page of the version strings, as eight digits: English if the file has it, else the last of those
// that it has.
std::string TranslationCode(const platform::VersionBlock& data) {
    std::uint32_t language = EnglishUS;
    std::uint32_t codePage = 0;
    if (const auto entries = data.Query(R"(\VarFileInfo\Translation)")) {
        language = 0;
        for (std::size_t at = 0; at + 4 <= entries->size(); at += 4) {
            language = NumberAt(*entries, at, 2);
            codePage = NumberAt(*entries, at + 2, 2);
            if (language == EnglishUS) {
                break;
            }
        }
    }
    return Hex4(language) + Hex4(codePage);
}

std::optional<std::string> StringOf(const platform::VersionBlock& data, std::string_view code, std::string_view name) {
    std::string entry = R"(\StringFileInfo\)";
    entry.append(code).append("\\").append(name);
    return data.Query(entry);
}

// A word as the run time writes a signed number: a blank in the place of the sign.
std::string SignedText(std::uint32_t word) {
    const auto number = static_cast<std::int16_t>(static_cast<std::uint16_t>(word));
    return (number < 0 ? "" : " ") + Text(number);
}

void FillFixed(std::string_view block, FileVersionInfo& record) {
    const std::uint32_t type = NumberAt(block, FileTypeAt, 4);
    if (type < FileTypes.size()) {
        record.FileType = FileTypes[type];
    }
    record.FileVersionNumber =
        CalcVersion(NumberAt(block, FileVersionHigh, 4)) + "." + CalcVersion(NumberAt(block, FileVersionLow, 4));
    // Without the two lower words, as the records have always been.
    record.ProductVersionNumber = CalcVersion(NumberAt(block, ProductVersionHigh, 4));
}

}  // namespace

void GetFileVersionInfoStrings(std::string_view path, FileVersionInfo& record) {
    Trap(Module, "GetFileVersionInfoStrings", [&] {
        platform::VersionResources& versions = *platform::Current().versions;
        const std::uint32_t size = std::min(versions.Size(path).ValueOr(0), MaxBlock);
        const auto block = versions.Load(path, size);
        if (!block) {
            record.Status = StatusNone;
            return;
        }
        const auto fixed = (*block)->Query(R"(\)");
        if (!fixed) {
            record.Status = StatusNoFixed;
            return;
        }
        record.Status = StatusFixed;
        FillFixed(*fixed, record);
        for (const InfoString& entry : InfoStrings) {
            record.*entry.field = GetInfoString(entry.name, **block);
        }
    });
}

std::string GetInfoString(std::string_view name, const platform::VersionBlock& data) {
    std::string result;
    Trap(Module, "GetInfoString", [&] {
        auto value = StringOf(data, TranslationCode(data), name);
        if (!value) {
            value = StringOf(data, FallbackCode, name);
        }
        if (!value) {
            result = "Unavailable";
            return;
        }
        result = modFiles::StringBeforeNul(*value);
        if (result.empty()) {
            result = "None";
        }
    });
    return result;
}

std::string CalcVersion(std::uint32_t value) {
    std::string result;
    Trap(Module, "CalcVersion", [&] {
        result = SignedText(value >> 16) + ".";
        result += Trim(SignedText(value & 0xffffU));
    });
    return result;
}

}  // namespace kel::modFileInfoAPI
