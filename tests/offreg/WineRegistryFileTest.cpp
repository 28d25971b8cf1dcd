// Whole files: read, edited, and what the edit leaves alone.
#include "offline/WineRegistryFile.h"

#include <gtest/gtest.h>

#include <chrono>

#include "Scratch.h"
#include "offline/OfflinePlatform.h"
#include "offline/WineRegistryText.h"

namespace kel::offline {
namespace {

using platform::SysError;
using test::KeyAt;
using test::RegistryFile;
using test::Wide;

std::unique_ptr<WineRegistryFile> Open(std::string_view keys) {
    return WineRegistryFile::FromText(RegistryFile(keys), "x.reg");
}

std::string Refusal(std::string text) {
    try {
        WineRegistryFile::FromText(std::move(text), "x.reg");
    } catch (const OpenError& error) {
        return error.what();
    }
    return "accepted";
}

// Without the lines that tell when a key was written, which an edit changes.
std::string WithoutTimes(std::string_view text) {
    std::string out;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size() - 1);
        const std::string_view line = text.substr(0, end + 1);
        text.remove_prefix(end + 1);
        if (line.starts_with("[")) {
            out += line.substr(0, line.rfind(']') + 1);
            out += '\n';
        } else if (!line.starts_with("#time=")) {
            out += line;
        }
    }
    return out;
}

constexpr std::string_view Sample =
    "\n[A] 1700000000\n#time=1da1747c9e5c000\n\"v\"=\"1\"\n"
    "\n[A\\\\B] 1700000001\n#time=1da1747c9e5c001\n#class=\"cl\\\"ass\"\n@=dword:00000005\n\"z\"=hex:01,\\\n  02\n"
    "\n[A\\\\C\\\\D] 1700000002\n\"k\"=\"odd   spelling\"   \n"
    "\n[L] 1700000003\n#time=1da1747c9e5c000\n#link\n\"SymbolicLinkValue\"=hex(6):5c,00\n";

TEST(WineFile, ShowsKeysWithTheirValuesClassAndTime) {
    const auto file = Open(Sample);
    const KeyId root = file->Root();
    ASSERT_EQ(file->KeyCount(root), 2U);
    EXPECT_EQ(file->KeyName(file->KeyAt(root, 0)), u"A");
    EXPECT_EQ(file->KeyName(file->KeyAt(root, 1)), u"L");
    EXPECT_EQ(file->KeyAt(root, 2), NoKey);
    const KeyId b = KeyAt(*file, u"a\\b");
    ASSERT_NE(b, NoKey);
    EXPECT_EQ(file->ClassName(b), u"cl\"ass");
    EXPECT_EQ(file->LastWritten(b), 0x1DA1747C9E5C001U);
    ASSERT_EQ(file->ValueCount(b), 2U);
    EXPECT_EQ(file->ValueAt(b, 0)->name, u"");
    EXPECT_EQ(file->ValueAt(b, 1)->data.size(), 2U);
    EXPECT_EQ(file->ValueAt(b, 2).Error(), SysError::NoMoreItems);
    EXPECT_EQ(file->FindValue(b, u"Z")->type, 3U);
    EXPECT_EQ(file->FindValue(b, u"y").Error(), SysError::FileNotFound);
    EXPECT_EQ(UnixSeconds(file->LastWritten(KeyAt(*file, u"A\\C\\D"))), 1700000002U);
    EXPECT_TRUE(file->IsLink(KeyAt(*file, u"L")));
    EXPECT_FALSE(file->IsLink(b));
    EXPECT_EQ(file->RelativeTo(), u"\\Machine");
}

TEST(WineFile, AKeyWithoutASectionOfItsOwnIsThere) {
    const auto file = Open(Sample);
    const KeyId c = KeyAt(*file, u"A\\C");
    ASSERT_NE(c, NoKey);
    EXPECT_EQ(file->ValueCount(c), 0U);
    EXPECT_EQ(file->KeyCount(c), 1U);
}

TEST(WineFile, SubkeysAreListedInTheOrderOfNamesWhateverTheFilesOrder) {
    const auto file = Open("\n[_x] 1\n\n[b] 1\n\n[a] 1\n\n[B\\\\y] 1\n\n[Z] 1\n");
    std::vector<std::u16string> names;
    for (std::uint32_t index = 0; index < file->KeyCount(0); ++index) {
        names.push_back(file->KeyName(file->KeyAt(0, index)));
    }
    EXPECT_EQ(names, (std::vector<std::u16string>{u"a", u"b", u"Z", u"_x"}));
    EXPECT_NE(KeyAt(*file, u"b\\Y"), NoKey);
}

TEST(WineFile, UnchangedIsTheSameText) {
    const auto file = Open(Sample);
    EXPECT_FALSE(file->Changed());
    EXPECT_EQ(file->Render(), RegistryFile(Sample));
}

TEST(WineFile, SettingWhatIsThereAlreadyChangesNothing) {
    const auto file = Open(Sample);
    EXPECT_EQ(file->SetValue(KeyAt(*file, u"A"), u"V", 1, Wide("1")), SysError::Success);
    EXPECT_FALSE(file->Changed());
    EXPECT_EQ(file->CreateKey(0, u"a").Value(), KeyAt(*file, u"A"));
    EXPECT_FALSE(file->Changed());
}

TEST(WineFile, AnEditTouchesItsKeyAlone) {
    const auto file = Open(Sample);
    const KeyId b = KeyAt(*file, u"A\\B");
    EXPECT_EQ(file->SetValue(b, u"Z", 1, Wide("new")), SysError::Success);
    EXPECT_EQ(file->SetValue(b, u"m", 4, std::vector<std::byte>(4)), SysError::Success);
    EXPECT_TRUE(file->Changed());
    std::string expected = RegistryFile(Sample);
    const std::string_view from = "\"z\"=hex:01,\\\n  02\n";
    expected.replace(expected.find(from), from.size(), "\"m\"=dword:00000000\n\"z\"=\"new\"\n");
    EXPECT_EQ(WithoutTimes(file->Render()), WithoutTimes(expected));
    EXPECT_GT(file->LastWritten(b), 0x1DA1747C9E5C001U);
    EXPECT_NE(file->Render().find("\"k\"=\"odd   spelling\"   \n"), std::string::npos);
}

TEST(WineFile, ANewTimeIsToldInBothForms) {
    const auto file = Open(Sample);
    const KeyId key = KeyAt(*file, u"A");
    const auto now =
        std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch());
    EXPECT_EQ(file->DeleteValue(key, u"V"), SysError::Success);
    const std::uint64_t seconds = UnixSeconds(file->LastWritten(key));
    EXPECT_LE(seconds - static_cast<std::uint64_t>(now.count()), 5U);
    EXPECT_NE(file->Render().find("\n[A] " + std::to_string(seconds) + "\n#time=1d"), std::string::npos);
}

TEST(WineFile, NewKeysStandWhereWineWouldWriteThem) {
    const auto file = Open(Sample);
    const KeyId a = KeyAt(*file, u"A");
    const KeyId c = KeyAt(*file, u"A\\C");
    const KeyId made = *file->CreateKey(c, u"AA [x]");
    EXPECT_EQ(file->SetValue(made, u"", 1, Wide("y")), SysError::Success);
    ASSERT_TRUE(file->CreateKey(*file->CreateKey(a, u"E"), u"F").Ok());
    ASSERT_TRUE(file->CreateKey(0, u"0").Ok());
    std::string expected = RegistryFile("\n[0] 1\n" + std::string(Sample));
    expected.insert(expected.find("\n[A\\\\C\\\\D]"), "\n[A\\\\C\\\\AA \\[x\\]] 1\n@=\"y\"\n");
    expected.insert(expected.find("\n[L]"), "\n[A\\\\E\\\\F] 1\n");
    EXPECT_EQ(WithoutTimes(file->Render()), WithoutTimes(expected));
}

TEST(WineFile, ADeletedKeyIsGoneAndItsEmptyParentStays) {
    const auto file = Open(Sample);
    const KeyId a = KeyAt(*file, u"A");
    const KeyId c = KeyAt(*file, u"A\\C");
    EXPECT_EQ(file->DeleteKey(0, u"A"), SysError::AccessDenied);
    EXPECT_EQ(file->DeleteKey(a, u"x"), SysError::FileNotFound);
    const KeyId d = KeyAt(*file, u"A\\C\\D");
    EXPECT_EQ(file->DeleteKey(c, u"d"), SysError::Success);
    EXPECT_EQ(KeyAt(*file, u"A\\C\\D"), NoKey);
    EXPECT_EQ(file->ValueAt(d, 0).Error(), SysError::KeyDeleted);
    EXPECT_EQ(file->SetValue(d, u"x", 1, {}), SysError::KeyDeleted);
    EXPECT_EQ(file->CreateKey(d, u"x").Error(), SysError::KeyDeleted);
    const std::string text = WithoutTimes(file->Render());
    EXPECT_EQ(text.find("\\\\D"), std::string::npos);
    EXPECT_NE(text.find("\n[A\\\\C]\n"), std::string::npos);
    const auto again = WineRegistryFile::FromText(file->Render(), "again");
    EXPECT_NE(KeyAt(*again, u"A\\C"), NoKey);
}

TEST(WineFile, CommittedChangesAreTheNewGround) {
    const auto file = Open(Sample);
    const KeyId b = KeyAt(*file, u"A\\B");
    const KeyId made = *file->CreateKey(b, u"new");
    EXPECT_EQ(file->SetValue(made, u"n", 1, Wide("1")), SysError::Success);
    const std::string rendered = file->Render();
    EXPECT_EQ(file->Commit(), SysError::Success);
    EXPECT_FALSE(file->Changed());
    EXPECT_EQ(file->Text(), rendered);
    EXPECT_EQ(file->FindValue(made, u"N")->data, Wide("1"));
    EXPECT_EQ(file->FindValue(b, u"z")->data.size(), 2U);
    EXPECT_EQ(file->SetValue(KeyAt(*file, u"A"), u"v", 1, Wide("2")), SysError::Success);
    file->Discard();
    EXPECT_EQ(file->Render(), rendered);
    EXPECT_EQ(file->FindValue(KeyAt(*file, u"A\\B\\new"), u"n")->data, Wide("1"));
}

TEST(WineFile, DiscardingForgetsEverything) {
    const auto file = Open(Sample);
    EXPECT_EQ(file->DeleteKey(KeyAt(*file, u"A\\C"), u"D"), SysError::Success);
    ASSERT_TRUE(file->CreateKey(0, u"new").Ok());
    file->Discard();
    EXPECT_FALSE(file->Changed());
    EXPECT_EQ(file->Render(), RegistryFile(Sample));
    EXPECT_NE(KeyAt(*file, u"A\\C\\D"), NoKey);
    EXPECT_EQ(KeyAt(*file, u"new"), NoKey);
}

TEST(WineFile, SeveralSectionsOfOneKeyAreOneKey) {
    const auto file = Open("\n[A] 1\n\"x\"=\"1\"\n\"y\"=\"1\"\n\n[B] 1\n\n[a] 2\n\"X\"=\"2\"\n");
    const KeyId a = KeyAt(*file, u"A");
    ASSERT_EQ(file->ValueCount(a), 2U);
    EXPECT_EQ(file->FindValue(a, u"x")->data, Wide("2"));
    EXPECT_FALSE(file->Changed());
    EXPECT_EQ(file->SetValue(a, u"y", 1, Wide("3")), SysError::Success);
    EXPECT_EQ(WithoutTimes(file->Render()), RegistryFile("\n[A]\n\"x\"=\"2\"\n\"y\"=\"3\"\n\n[B]\n"));
}

TEST(WineFile, FilesWithoutALastLineEndAndWithCommentsGrowWell) {
    const auto file = Open("\n; note\n[A] 1\n\"x\"=\"1\"");
    ASSERT_TRUE(file->CreateKey(KeyAt(*file, u"A"), u"B").Ok());
    const std::string text = WithoutTimes(file->Render());
    EXPECT_EQ(text, RegistryFile("\n; note\n[A]\n\"x\"=\"1\"\n\n[A\\\\B]\n"));
}

TEST(WineFile, TheRootMayHaveValues) {
    const auto file = Open("\n[] 1\n\"x\"=\"1\"\n\n[A] 1\n");
    EXPECT_EQ(file->FindValue(0, u"x")->data, Wide("1"));
    EXPECT_EQ(file->SetValue(0, u"y", 1, Wide("2")), SysError::Success);
    EXPECT_EQ(WithoutTimes(file->Render()), RegistryFile("\n[]\n\"x\"=\"1\"\n\"y\"=\"2\"\n\n[A]\n"));
    const auto bare = Open("\n[A] 1\n");
    EXPECT_EQ(bare->SetValue(0, u"y", 1, Wide("2")), SysError::Success);
    EXPECT_EQ(WithoutTimes(bare->Render()), RegistryFile("\n[]\n\"y\"=\"2\"\n\n[A]\n"));
}

TEST(WineFile, NamesOfAnyUnitsComeBack) {
    const auto file = Open("");
    const std::u16string odd{u'a', 0xD800, u'\0', u'7', u'"', u']', 0x00E9, u'b'};
    const KeyId key = *file->CreateKey(0, odd);
    EXPECT_EQ(file->SetValue(key, odd, 3, {}), SysError::Success);
    const auto again = WineRegistryFile::FromText(file->Render(), "again");
    const KeyId back = again->FindKey(0, odd);
    ASSERT_NE(back, NoKey);
    EXPECT_EQ(again->KeyName(back), odd);
    EXPECT_EQ(again->ValueAt(back, 0)->name, odd);
}

TEST(WineFile, WhatNoKeyCanBeCalledIsRefused) {
    const auto file = Open("");
    EXPECT_EQ(file->CreateKey(0, u"").Error(), SysError::InvalidParameter);
    EXPECT_EQ(file->CreateKey(0, u"a\\b").Error(), SysError::InvalidParameter);
    EXPECT_EQ(file->CreateKey(0, std::u16string(256, u'x')).Error(), SysError::InvalidParameter);
    EXPECT_TRUE(file->CreateKey(0, std::u16string(255, u'x')).Ok());
}

TEST(WineFile, NoKeyIsMadeBelow512Levels) {
    const auto file = Open("");
    KeyId key = 0;
    for (int level = 0; level < 512; ++level) {
        const auto made = file->CreateKey(key, u"k");
        ASSERT_TRUE(made.Ok()) << level;
        key = *made;
    }
    EXPECT_EQ(file->CreateKey(key, u"k").Error(), SysError::InvalidParameter);
    EXPECT_EQ(Refusal(file->Render()), "accepted");
}

TEST(WineFile, DamageIsToldWithFileAndLine) {
    EXPECT_EQ(Refusal(""), "x.reg:1: the file does not begin with \"WINE REGISTRY Version 2\"");
    EXPECT_EQ(Refusal("REGEDIT4\n"), "x.reg:1: the file does not begin with \"WINE REGISTRY Version 2\"");
    EXPECT_EQ(Refusal("WINE REGISTRY Version 20\n"), "x.reg:1: unexpected text at the end of the line");
    EXPECT_EQ(Refusal(RegistryFile("\n\"x\"=\"1\"\n")), "x.reg:6: a value stands before the first key");
    EXPECT_EQ(Refusal(RegistryFile("\n[A] 1\n\"x\"=\"1\n")), "x.reg:7: the text has no closing quote");
    EXPECT_EQ(Refusal(RegistryFile("\n[A\n")), "x.reg:6: the key's name has no closing bracket");
    EXPECT_EQ(Refusal(RegistryFile("\n[A] x\n")), "x.reg:6: unexpected text at the end of the line");
    EXPECT_EQ(Refusal(RegistryFile("\n[A] 99999999999999999999\n")), "x.reg:6: the key's time is out of range");
    EXPECT_EQ(Refusal(RegistryFile("\n[A] 1\nnonsense\n")), "x.reg:7: this is no key, value, option or comment");
    EXPECT_EQ(Refusal(RegistryFile("\n[A] 1\n\"x\"=hex:01,\\\n  0g\n")),
              "x.reg:8: unexpected text at the end of the line");
    EXPECT_EQ(Refusal(RegistryFile("\n[A] 1\n#class=x\n")), "x.reg:7: a quoted text is missing");
    EXPECT_EQ(Refusal(RegistryFile("\n[" + std::string(1025, 'k') + "] 1\n")),
              "x.reg:6: a key's name is longer than 1024 characters");
    std::string deep = "\n[k";
    for (int level = 0; level < 512; ++level) {
        deep += "\\\\k";
    }
    EXPECT_EQ(Refusal(RegistryFile(deep + "] 1\n")), "x.reg:6: the key lies deeper than 512 levels");
}

TEST(WineFile, ATextCutAnywhereIsReadOrRefused) {
    const std::string whole = RegistryFile(Sample);
    int refused = 0;
    for (std::size_t length = 0; length < whole.size(); ++length) {
        refused += Refusal(whole.substr(0, length)) == "accepted" ? 0 : 1;
    }
    EXPECT_GT(refused, 40);
    EXPECT_LT(refused, static_cast<int>(whole.size()));
}

// What would take hours if lists were kept in order one by one, or compared all with all.
TEST(WineFile, HostileOrderTakesNoLongerThanAnother) {
    std::string keys;
    for (int number = 300000; number > 0; --number) {
        keys += "\n[k" + std::to_string(number + 1000000) + "] 1\n";
    }
    keys += "\n[v] 1\n";
    for (int number = 200000; number > 0; --number) {
        keys += "\"n" + std::to_string(number % 100000) + "\"=\"\"\n";
    }
    keys += keys;
    const auto start = std::chrono::steady_clock::now();
    const auto file = Open(keys);
    EXPECT_EQ(file->KeyCount(0), 300001U);
    EXPECT_EQ(file->ValueCount(KeyAt(*file, u"v")), 100000U);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
}

}  // namespace
}  // namespace kel::offline
