#include <gmock/gmock.h>

#include <cstring>

#include "PlatformTest.h"
#include "support/ProgramFile.h"

namespace kel::test {
namespace {

using platform::SysError;
using namespace std::string_literals;

constexpr ProgramKind AllKinds[] = {ProgramKind::Pe32, ProgramKind::Pe32Plus, ProgramKind::Ne};

class VersionResources : public PlatformTest {
protected:
    void SetUp() override {
        if (DryRun()) {
            GTEST_SKIP() << "the version of a file that was written in a dry run can't be asked for";
        }
    }
    platform::VersionResources& Versions() { return *Machine().versions; }

    std::unique_ptr<platform::VersionBlock> Load(ProgramKind kind, const VersionRecord& record) {
        Write("program.dll", MakeProgram(kind, record));
        const auto size = Versions().Size(Path("program.dll"));
        EXPECT_TRUE(size.Ok()) << platform::Number(size.Error());
        auto block = Versions().Load(Path("program.dll"), size.ValueOr(0));
        EXPECT_TRUE(block.Ok()) << platform::Number(block.Error());
        return block ? std::move(block).Value() : nullptr;
    }
    VersionRecord Acme() {
        return {.tables = {{.strings = {{"CompanyName", "Acme"}, {"FileDescription", "A test"}, {"Empty", ""}}}},
                .translations = {}};
    }
};

std::uint32_t Dword(const std::string& bytes, std::size_t index) {
    std::uint32_t value = 0;
    std::memcpy(&value, bytes.data() + 4 * index, sizeof(value));
    return value;
}

TEST_F(VersionResources, RootIsTheFixedBlock) {
    for (const ProgramKind kind : AllKinds) {
        const auto block = Load(kind, Acme());
        ASSERT_NE(block, nullptr);
        const std::string fixed = block->Query("\\").value_or("");
        ASSERT_EQ(fixed.size(), 52U);
        EXPECT_EQ(Dword(fixed, 0), 0xFEEF04BDU);
        EXPECT_EQ(Dword(fixed, 2), 0x00010002U);
        EXPECT_EQ(Dword(fixed, 3), 0x00030004U);
        EXPECT_EQ(Dword(fixed, 4), 0x00050006U);
        EXPECT_EQ(Dword(fixed, 9), 1U);
    }
}

TEST_F(VersionResources, StringsComeWithTheirTerminator) {
    for (const ProgramKind kind : AllKinds) {
        const auto block = Load(kind, Acme());
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(block->Query("\\StringFileInfo\\040904E4\\CompanyName"), "Acme\0"s);
        EXPECT_EQ(block->Query("\\StringFileInfo\\040904E4\\FileDescription"), "A test\0"s);
    }
}

TEST_F(VersionResources, NamesCompareWithoutRegardToCase) {
    const auto block = Load(ProgramKind::Pe32, Acme());
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block->Query("\\stringfileinfo\\040904e4\\COMPANYNAME"), "Acme\0"s);
}

TEST_F(VersionResources, TranslationListsLanguageAndCodePage) {
    VersionRecord record = Acme();
    record.translations = {{0x0407, 0x04B0}, {0x0409, 0x04E4}};
    for (const ProgramKind kind : AllKinds) {
        const auto block = Load(kind, record);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(block->Query("\\VarFileInfo\\Translation"), "\x07\x04\xB0\x04\x09\x04\xE4\x04"s);
    }
}

TEST_F(VersionResources, EachLanguageHasItsOwnTable) {
    VersionRecord record;
    record.tables = {{0x0407, 0x04B0, {{"CompanyName", "Deutsch"}}}, {0x0409, 0x04B0, {{"CompanyName", "English"}}}};
    const auto block = Load(ProgramKind::Pe32Plus, record);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block->Query("\\StringFileInfo\\040704B0\\CompanyName"), "Deutsch\0"s);
    EXPECT_EQ(block->Query("\\StringFileInfo\\040904B0\\CompanyName"), "English\0"s);
}

TEST_F(VersionResources, WhatIsNotThereIsNothing) {
    for (const ProgramKind kind : AllKinds) {
        const auto block = Load(kind, Acme());
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(block->Query("\\StringFileInfo\\040904E4\\InternalName"), std::nullopt);
        EXPECT_EQ(block->Query("\\StringFileInfo\\040704E4\\CompanyName"), std::nullopt);
        EXPECT_EQ(block->Query("\\VarFileInfo\\Nothing"), std::nullopt);
        EXPECT_EQ(block->Query("\\Nothing"), std::nullopt);
    }
}

TEST_F(VersionResources, NoTranslationListIsNothing) {
    const auto block = Load(ProgramKind::Pe32, VersionRecord{});
    ASSERT_NE(block, nullptr);
    EXPECT_TRUE(block->Query("\\").has_value());
    EXPECT_EQ(block->Query("\\VarFileInfo\\Translation"), std::nullopt);
}

TEST_F(VersionResources, EmptyStringIsThereAndEmpty) {
    for (const ProgramKind kind : AllKinds) {
        const auto block = Load(kind, Acme());
        ASSERT_NE(block, nullptr);
        const auto text = block->Query("\\StringFileInfo\\040904E4\\Empty");
        ASSERT_TRUE(text.has_value());
        EXPECT_STREQ(text->c_str(), "");
    }
}

TEST_F(VersionResources, TextIsInTheMachinesCodePage) {
    VersionRecord record;
    record.tables = {{.strings = {{"LegalCopyright", "\xA9 Andr\xE9"}}}};
    const auto block = Load(ProgramKind::Pe32, record);
    ASSERT_NE(block, nullptr);
    const std::string wanted = Machine().text->FromUtf8("\xC2\xA9 Andr\xC3\xA9") + '\0';
    EXPECT_EQ(block->Query("\\StringFileInfo\\040904E4\\LegalCopyright"), wanted);
}

TEST_F(VersionResources, ABufferThatEndsEarlyHoldsTheBeginning) {
    VersionRecord record = Acme();
    Write("program.dll", MakeProgram(ProgramKind::Pe32, record));
    constexpr std::uint32_t fixedBlockOnly = 100;
    auto block = Versions().Load(Path("program.dll"), fixedBlockOnly);
    ASSERT_TRUE(block.Ok());
    EXPECT_TRUE((*block)->Query("\\").has_value());
    EXPECT_EQ((*block)->Query("\\StringFileInfo\\040904E4\\CompanyName"), std::nullopt);
}

TEST_F(VersionResources, FilesWithoutOneAreAnError) {
    Write("empty.exe", "");
    Write("text.exe", "only text, and long enough to be taken for the header of a program by a careless reader");
    Write("dos.exe", "MZ" + std::string(100, '\0'));
    Folder("dir");
    for (const char* name : {"empty.exe", "text.exe", "dos.exe", "dir"}) {
        EXPECT_FALSE(Versions().Size(Path(name)).Ok()) << name;
        EXPECT_FALSE(Versions().Load(Path(name), 1000).Ok()) << name;
    }
    for (const ProgramKind kind : AllKinds) {
        Write("bare.exe", MakeProgramWithoutVersion(kind));
        EXPECT_FALSE(Versions().Size(Path("bare.exe")).Ok());
    }
    EXPECT_EQ(Versions().Size(Path("missing.exe")).Error(), SysError::FileNotFound);
    EXPECT_EQ(Versions().Load(Path("missing.exe"), 1000).Error(), SysError::FileNotFound);
}

TEST_F(VersionResources, DamagedFilesNeverLeadOutOfTheFile) {
    for (const ProgramKind kind : AllKinds) {
        const std::string whole = MakeProgram(kind, Acme());
        for (std::size_t size = 0; size < whole.size(); size += 37) {
            Write("cut.dll", std::string_view(whole).substr(0, size));
            if (const auto needed = Versions().Size(Path("cut.dll"))) {
                if (auto block = Versions().Load(Path("cut.dll"), needed.Value())) {
                    const auto text = (*block)->Query("\\StringFileInfo\\040904E4\\CompanyName");
                    EXPECT_TRUE(!text || text->size() < whole.size());
                }
            }
        }
    }
}

TEST_F(VersionResources, SystemLibraryHasOne) {
    if (!Machine().can.live) {
        GTEST_SKIP() << "the machine has no programs of its own";
    }
    const std::string path = Machine().shell->SpecialFolder(37).ValueOr("") + "\\kernel32.dll";
    const auto size = Versions().Size(path);
    ASSERT_TRUE(size.Ok());
    auto block = Versions().Load(path, size.Value());
    ASSERT_TRUE(block.Ok());
    EXPECT_EQ((*block)->Query("\\").value_or("").size(), 52U);
    const std::string translation = (*block)->Query("\\VarFileInfo\\Translation").value_or("");
    ASSERT_GE(translation.size(), 4U);
    char code[9];
    std::snprintf(code, sizeof(code), "%04X%04X", Dword(translation, 0) & 0xFFFFU, Dword(translation, 0) >> 16);
    const auto company = (*block)->Query("\\StringFileInfo\\" + std::string(code) + "\\CompanyName");
    ASSERT_TRUE(company.has_value());
    EXPECT_GT(company->size(), 1U);
}

}  // namespace
}  // namespace kel::test
