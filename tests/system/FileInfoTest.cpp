#include "system/modFileInfoAPI.h"

#include <gmock/gmock.h>

#include "Fakes.h"
#include "support/EngineTest.h"
#include "support/ProgramFile.h"

namespace kel {
namespace {

using namespace std::string_literals;
using ::testing::ElementsAre;

constexpr const char* Path = "C:\\x.exe";
constexpr const char* Translation = "\\VarFileInfo\\Translation";

std::string Words(const std::vector<std::uint32_t>& words) {
    std::string bytes;
    for (const std::uint32_t word : words) {
        for (unsigned shift = 0; shift < 32; shift += 8) {
            bytes += static_cast<char>(word >> shift & 0xffU);
        }
    }
    return bytes;
}

// The fixed block of version 1.2.3.4 for product 5.6.7.8.
std::string FixedBlock(std::uint32_t fileType) {
    return Words({0xfeef04bdU, 0x10000, 0x00010002, 0x00030004, 0x00050006, 0x00070008, 63, 0, 4, fileType, 0, 0, 0});
}

class FileInfo : public test::EngineTest {
protected:
    FileInfo() : versions_(*Machine().versions) {
        auto machine = Machine();
        machine.versions = &versions_;
        Install(machine);
    }
    FileVersionInfo Read() {
        FileVersionInfo record;
        modFileInfoAPI::GetFileVersionInfoStrings(Path, record);
        return record;
    }

    test::FakeVersions versions_;
};

TEST_F(FileInfo, AFileWithoutAVersionResourceHasAStatusOnly) {
    const FileVersionInfo record = Read();
    EXPECT_EQ(record.Status, "No version information available for this file");
    EXPECT_EQ(record.CompanyName + record.FileVersionNumber + record.FileType, "");
}

TEST_F(FileInfo, AResourceWithoutTheFixedBlockHasAStatusOnly) {
    versions_.blocks[Path].entries[Translation] = Words({0x04e40409});
    const FileVersionInfo record = Read();
    EXPECT_EQ(record.Status, "No fixed version information in this file");
    EXPECT_EQ(record.CompanyName + record.FileVersionNumber + record.FileType, "");
}

TEST_F(FileInfo, AllFieldsAreFilled) {
    auto& entries = versions_.blocks[Path].entries;
    entries["\\"] = FixedBlock(1);
    entries[Translation] = Words({0x04b00409});
    const std::string code = "\\StringFileInfo\\040904B0\\";
    entries[code + "CompanyName"] = "Makers Ltd.\0"s;
    entries[code + "FileDescription"] = "Does things\0behind"s;
    entries[code + "LegalCopyright"] = "(c)\0"s;
    entries[code + "InternalName"] = "x\0"s;
    entries[code + "FileVersion"] = "1.2.3.4 beta\0"s;
    const FileVersionInfo record = Read();
    EXPECT_EQ(record.Status, "Fixed version information exists in this file ");
    EXPECT_EQ(record.CompanyName, "Makers Ltd.");
    EXPECT_EQ(record.FileDescription, "Does things");
    EXPECT_EQ(record.LegalCopyright, "(c)");
    EXPECT_EQ(record.InternalName, "x");
    EXPECT_EQ(record.FileVersion, "1.2.3.4 beta");
    EXPECT_EQ(record.FileVersionNumber, " 1.2. 3.4");
    EXPECT_EQ(record.ProductVersionNumber, " 5.6");
    EXPECT_EQ(record.FileType, "Application");
    EXPECT_TRUE(Reported().empty());
}

struct TypeLabel {
    std::uint32_t type;
    const char* label;
};
class FileTypes : public FileInfo, public ::testing::WithParamInterface<TypeLabel> {};

TEST_P(FileTypes, HaveTheirLabels) {
    versions_.blocks[Path].entries["\\"] = FixedBlock(GetParam().type);
    EXPECT_EQ(Read().FileType, GetParam().label);
}

INSTANTIATE_TEST_SUITE_P(All, FileTypes,
                         ::testing::Values(TypeLabel{0, "Unknown"}, TypeLabel{1, "Application"},
                                           TypeLabel{2, "Dynamic link library"}, TypeLabel{3, "Device driver \""},
                                           TypeLabel{4, "Font resource \""}, TypeLabel{5, "Virtual device \""},
                                           TypeLabel{6, ""}, TypeLabel{7, "Static link library \""}, TypeLabel{8, ""},
                                           TypeLabel{0xffffffffU, ""}));

TEST_F(FileInfo, ABlockIsReadUpTo64000Bytes) {
    versions_.blocks[Path].entries["\\"] = FixedBlock(1);
    versions_.size = 64000;
    Read();
    EXPECT_EQ(versions_.sizeAsked, 64000U);
    versions_.size = 64001;
    Read();
    EXPECT_EQ(versions_.sizeAsked, 64000U);
}

TEST_F(FileInfo, AShortFixedBlockCountsAsZeros) {
    versions_.blocks[Path].entries["\\"] = Words({0xfeef04bdU, 0x10000, 0x00010002});
    EXPECT_EQ(Read().FileVersionNumber, " 1.2. 0.0");
    EXPECT_EQ(Read().FileType, "Unknown");
}

TEST_F(FileInfo, VersionWordsAreSignedNumbers) {
    EXPECT_EQ(modFileInfoAPI::CalcVersion(0x00010002), " 1.2");
    EXPECT_EQ(modFileInfoAPI::CalcVersion(0), " 0.0");
    EXPECT_EQ(modFileInfoAPI::CalcVersion(0x8000ffff), "-32768.-1");
    EXPECT_EQ(modFileInfoAPI::CalcVersion(0x7fff8001), " 32767.-32767");
}

// Through the platform, from files of all kinds.
class ProgramInfo : public test::EngineTest, public ::testing::WithParamInterface<test::ProgramKind> {
protected:
    FileVersionInfo Read(const test::VersionRecord& record) {
        WriteFile(Folder() + "x.dll", test::MakeProgram(GetParam(), record));
        FileVersionInfo info;
        modFileInfoAPI::GetFileVersionInfoStrings(Folder() + "x.dll", info);
        return info;
    }
};

TEST_P(ProgramInfo, IsReadInItsOnlyLanguage) {
    const FileVersionInfo info = Read(
        {.tables = {{0x0407, 0x04E4, {{"CompanyName", "Hersteller"}, {"LegalCopyright", ""}}}}, .translations = {}});
    EXPECT_EQ(info.Status, "Fixed version information exists in this file ");
    EXPECT_EQ(info.CompanyName, "Hersteller");
    EXPECT_EQ(info.LegalCopyright, "None");
    EXPECT_EQ(info.InternalName, "Unavailable");
    EXPECT_EQ(info.FileVersionNumber, " 1.2. 3.4");
    EXPECT_EQ(info.FileType, "Application");
}

TEST_P(ProgramInfo, FallsBackToEnglishWhereItsLanguageHasNoTable) {
    EXPECT_EQ(Read({.tables = {{0x0409, 0x04E4, {{"CompanyName", "Makers"}}}}, .translations = {{0x0407, 0x04B0}}})
                  .CompanyName,
              "Makers");
}

INSTANTIATE_TEST_SUITE_P(All, ProgramInfo,
                         ::testing::Values(test::ProgramKind::Pe32, test::ProgramKind::Pe32Plus,
                                           test::ProgramKind::Ne));

TEST_F(FileInfo, TheEnglishTranslationIsPreferred) {
    test::FakeVersionBlock block;
    block.entries[Translation] = Words({0x04b00407, 0x04e40409, 0x04b00410});
    modFileInfoAPI::GetInfoString("CompanyName", block);
    EXPECT_THAT(block.asked, ElementsAre(Translation, "\\StringFileInfo\\040904E4\\CompanyName",
                                         "\\StringFileInfo\\040904E4\\CompanyName"));
}

TEST_F(FileInfo, AGermanResourceIsReadUnderItsLanguageAndThenUnderTheFallback) {
    test::FakeVersionBlock block;
    block.entries[Translation] = Words({0x04e40407});
    block.entries["\\StringFileInfo\\040704E4\\CompanyName"] = "Hersteller\0"s;
    block.entries["\\StringFileInfo\\040904E4\\CompanyName"] = "Makers\0"s;
    EXPECT_EQ(modFileInfoAPI::GetInfoString("CompanyName", block), "Hersteller");
    block.entries.erase("\\StringFileInfo\\040704E4\\CompanyName");
    EXPECT_EQ(modFileInfoAPI::GetInfoString("CompanyName", block), "Makers");
}

TEST_F(FileInfo, WithoutEnglishTheLastTranslationIsReadAndThenTheFallback) {
    test::FakeVersionBlock block;
    block.entries[Translation] = Words({0x04b0040c, 0x04b00407});
    block.entries["\\StringFileInfo\\040904E4\\CompanyName"] = "Fallback\0"s;
    EXPECT_EQ(modFileInfoAPI::GetInfoString("CompanyName", block), "Fallback");
    EXPECT_THAT(block.asked, ElementsAre(Translation, "\\StringFileInfo\\040704B0\\CompanyName",
                                         "\\StringFileInfo\\040904E4\\CompanyName"));
    block.entries["\\StringFileInfo\\040704B0\\CompanyName"] = "Hersteller\0"s;
    EXPECT_EQ(modFileInfoAPI::GetInfoString("CompanyName", block), "Hersteller");
}

TEST_F(FileInfo, WithoutATranslationEnglishWithoutACodePageIsTried) {
    test::FakeVersionBlock block;
    block.entries["\\StringFileInfo\\04090000\\CompanyName"] = "Old\0"s;
    EXPECT_EQ(modFileInfoAPI::GetInfoString("CompanyName", block), "Old");
}

TEST_F(FileInfo, AnAbsentStringIsUnavailableAndAnEmptyOneNone) {
    test::FakeVersionBlock block;
    EXPECT_EQ(modFileInfoAPI::GetInfoString("CompanyName", block), "Unavailable");
    block.entries["\\StringFileInfo\\040904E4\\CompanyName"] = "\0hidden"s;
    EXPECT_EQ(modFileInfoAPI::GetInfoString("CompanyName", block), "None");
    block.entries["\\StringFileInfo\\040904E4\\CompanyName"] = "";
    EXPECT_EQ(modFileInfoAPI::GetInfoString("CompanyName", block), "None");
}

}  // namespace
}  // namespace kel
