#include "archive/ZipReader.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <string>

#include "ZipBuilder.h"
#include "archive/ZipNames.h"

namespace kel::archive {
namespace {

using namespace std::string_literals;
using test::MakeZip;
using test::ZipItem;
using test::ZipShape;

std::span<const std::byte> Bytes(const std::string& text) {
    return std::as_bytes(std::span(text));
}

std::string Content(const ZipReader& reader, const ZipEntry& entry) {
    std::string content;
    const UnzipResult result = reader.Extract(entry, [&](std::span<const std::byte> bytes) {
        content.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
        return true;
    });
    EXPECT_EQ(result, UnzipDone);
    return content;
}

UnzipResult Read(const std::string& archive, const ZipLimits& limits = DefaultZipLimits) {
    ZipReader reader(Bytes(archive), limits);
    const UnzipResult result = reader.ReadDirectory();
    EXPECT_TRUE(result == UnzipDone || reader.Entries().empty());
    return result;
}

// Reads an archive of one entry and unpacks that.
UnzipResult ReadAndExtract(const std::string& archive) {
    ZipReader reader(Bytes(archive));
    if (const UnzipResult result = reader.ReadDirectory(); result != UnzipDone) {
        return result;
    }
    return reader.Extract(reader.Entries().at(0), [](std::span<const std::byte>) { return true; });
}

const std::string LongText = [] {
    std::string text;
    std::uint32_t number = 1;
    for (int i = 0; i < 200'000; ++i) {
        number = number * 1664525U + 1013904223U;
        text += static_cast<char>('a' + (number >> 24) % 17);
    }
    return text;
}();

struct Kind {
    const char* name;
    ZipItem item;
    ZipShape shape;
};
class SoundZips : public ::testing::TestWithParam<Kind> {};

TEST_P(SoundZips, GiveTheirEntries) {
    ZipItem item = GetParam().item;
    item.name = "folder/file.txt";
    item.bytes = LongText;
    const std::string archive = MakeZip({item, {"empty", ""}}, GetParam().shape);
    ZipReader reader(Bytes(archive));
    ASSERT_EQ(reader.ReadDirectory(), UnzipDone);
    ASSERT_EQ(reader.Entries().size(), 2U);
    EXPECT_EQ(reader.Entries()[0].name, "folder/file.txt");
    EXPECT_EQ(reader.Entries()[0].bytes, LongText.size());
    EXPECT_FALSE(reader.Entries()[0].isFolder);
    EXPECT_EQ(Content(reader, reader.Entries()[0]), LongText);
    EXPECT_EQ(Content(reader, reader.Entries()[1]), "");
}

INSTANTIATE_TEST_SUITE_P(
    All, SoundZips,
    ::testing::Values(Kind{"Deflated", {}, {}}, Kind{"Stored", {.deflate = false}, {}},
                      Kind{"Descriptor", {.descriptor = true}, {}}, Kind{"Sizes64", {.sizes64 = true}, {}},
                      Kind{"End64", {}, {.end64 = true}}, Kind{"All64", {.sizes64 = true}, {.end64 = true}},
                      Kind{"Comment", {}, {.comment = "a comment with PK\5\6 in it"}},
                      Kind{"LongestComment", {}, {.comment = std::string(65535, 'x')}},
                      Kind{"ProgramBefore", {}, {.before = std::string(5000, 'M')}},
                      Kind{"ProgramBefore64", {.sizes64 = true}, {.before = std::string(5000, 'M'), .end64 = true}},
                      Kind{"BytesBehind", {}, {.behind = "\r\n"}}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(ZipReader, AnEmptyArchiveHasNoEntries) {
    EXPECT_EQ(Read(MakeZip({})), UnzipDone);
}

TEST(ZipReader, FoldersAreToldByTheirNames) {
    const std::string archive = MakeZip({{"a/", ""}, {"b\\", ""}, {"c", ""}});
    ZipReader reader(Bytes(archive));
    ASSERT_EQ(reader.ReadDirectory(), UnzipDone);
    EXPECT_TRUE(reader.Entries()[0].isFolder);
    EXPECT_TRUE(reader.Entries()[1].isFolder);
    EXPECT_FALSE(reader.Entries()[2].isFolder);
}

TEST(ZipReader, NamesWithoutAMarkAreOfTheOldCodePage) {
    constexpr std::uint16_t utf8 = 0x800;
    const std::string archive = MakeZip({{"\x81\xe1\x9c", ""}, {.name = "\xc3\xbc", .bytes = "", .flags = utf8}});
    ZipReader reader(Bytes(archive));
    ASSERT_EQ(reader.ReadDirectory(), UnzipDone);
    EXPECT_EQ(reader.Entries()[0].name, "\xc3\xbc\xc3\x9f\xc2\xa3");
    EXPECT_EQ(reader.Entries()[1].name, "\xc3\xbc");
}

TEST(ZipReader, AUnicodeNameCountsOnlyForTheNameThatItWasMadeFor) {
    const auto field = [](std::string_view forName) {
        const std::uint32_t crc = static_cast<std::uint32_t>(
            crc32(0, reinterpret_cast<const Bytef*>(forName.data()), static_cast<uInt>(forName.size())));
        std::string data = "\x01"s;
        for (unsigned shift = 0; shift < 32; shift += 8) {
            data += static_cast<char>(crc >> shift & 0xffU);
        }
        return test::ZipExtra(0x7075, data + "\xd0\xb6");
    };
    const std::string archive =
        MakeZip({{.name = "_", .bytes = "", .extra = field("_")}, {.name = "x", .bytes = "", .extra = field("_")}});
    ZipReader reader(Bytes(archive));
    ASSERT_EQ(reader.ReadDirectory(), UnzipDone);
    EXPECT_EQ(reader.Entries()[0].name, "\xd0\xb6");
    EXPECT_EQ(reader.Entries()[1].name, "x");
}

struct Flaw {
    const char* name;
    ZipItem item;
    UnzipResult result;
};
class FlawedEntries : public ::testing::TestWithParam<Flaw> {};

TEST_P(FlawedEntries, FailTheArchive) {
    ZipItem item = GetParam().item;
    item.name = "x";
    item.bytes = LongText;
    EXPECT_EQ(ReadAndExtract(MakeZip({item})), GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(All, FlawedEntries,
                         ::testing::Values(Flaw{"Encrypted", {.flags = 1}, UnzipEncrypted},
                                           Flaw{"StronglyEncrypted", {.flags = 0x40}, UnzipEncrypted},
                                           Flaw{"Masked", {.flags = 0x2000}, UnzipEncrypted},
                                           Flaw{"OtherMethod", {.method = 12}, UnzipUnsupported},
                                           Flaw{"WrongChecksum", {.crc = 1}, UnzipDamaged},
                                           Flaw{"WrongChecksumStored", {.deflate = false, .crc = 1}, UnzipDamaged},
                                           Flaw{"LongerThanTold", {.size = 1000}, UnzipDamaged},
                                           Flaw{"ShorterThanTold", {.size = 200'001}, UnzipDamaged},
                                           Flaw{"StoredOfTwoSizes", {.deflate = false, .size = 7}, UnzipDamaged},
                                           Flaw{"NoDeflateData", {.deflate = false, .method = 8}, UnzipDamaged},
                                           Flaw{"LocalElsewhere", {.localAt = 1}, UnzipDamaged},
                                           Flaw{"LocalFarAway", {.localAt = 0x7fffffff}, UnzipDamaged}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(ZipReader, WhatIsNoArchiveIsDamaged) {
    EXPECT_EQ(Read(""), UnzipDamaged);
    EXPECT_EQ(Read("PK"), UnzipDamaged);
    EXPECT_EQ(Read(std::string(100'000, 'x')), UnzipDamaged);
}

TEST(ZipReader, EveryCutArchiveFails) {
    const std::string archive = MakeZip({{"a", "some text"}, {.name = "b", .bytes = "more", .sizes64 = true}});
    for (std::size_t size = 0; size < archive.size(); ++size) {
        EXPECT_NE(Read(archive.substr(0, size)), UnzipDone) << size;
    }
}

TEST(ZipReader, EveryFlippedByteIsSurvived) {
    const std::string archive =
        MakeZip({{"a", "some text"}, {.name = "b", .bytes = "more", .sizes64 = true}}, {.comment = "c", .end64 = true});
    for (std::size_t at = 0; at < archive.size(); ++at) {
        for (const int flip : {0x01, 0x80, 0xff}) {
            std::string flipped = archive;
            flipped[at] = static_cast<char>(flipped[at] ^ flip);
            ZipReader reader(Bytes(flipped));
            if (reader.ReadDirectory() != UnzipDone) {
                continue;
            }
            for (const ZipEntry& entry : reader.Entries()) {
                std::uint64_t count = 0;
                const UnzipResult result = reader.Extract(entry, [&](std::span<const std::byte> bytes) {
                    count += bytes.size();
                    return true;
                });
                EXPECT_LE(count, entry.bytes);
                EXPECT_TRUE(result != UnzipDone || count == entry.bytes);
            }
        }
    }
}

TEST(ZipReader, ANumberOfEntriesThatIsWrongIsDamage) {
    EXPECT_EQ(Read(MakeZip({{"a", "1"}, {"b", "2"}}, {.count = 1})), UnzipDamaged);
    EXPECT_EQ(Read(MakeZip({{"a", "1"}, {"b", "2"}}, {.count = 3})), UnzipDamaged);
}

TEST(ZipReader, AMissing64BitEndRecordIsDamage) {
    std::string archive = MakeZip({{"a", "1"}}, {.end64 = true});
    archive.erase(archive.find("PK\x06\x07"), 20);
    EXPECT_EQ(Read(archive), UnzipDamaged);
}

TEST(ZipReader, EntriesThatShareBytesAreRefused) {
    // Both entries name the same local record, as an archive does that unpacks to many times its size.
    EXPECT_EQ(Read(MakeZip({{"a", LongText}, {.name = "b", .bytes = LongText, .localAt = 0}})), UnzipOverlap);
}

TEST(ZipReader, LimitsAreTested) {
    EXPECT_EQ(Read(MakeZip({{"a", ""}, {"b", ""}}), {.entries = 2}), UnzipDone);
    EXPECT_EQ(Read(MakeZip({{"a", ""}, {"b", ""}, {"c", ""}}), {.entries = 2}), UnzipTooLarge);
    EXPECT_EQ(Read(MakeZip({{"a", std::string(100, 'x')}}), {.fileBytes = 100}), UnzipDone);
    EXPECT_EQ(Read(MakeZip({{"a", std::string(101, 'x')}}), {.fileBytes = 100}), UnzipTooLarge);
    EXPECT_EQ(Read(MakeZip({{"a", "12345"}, {"b", "12345"}}), {.totalBytes = 10}), UnzipDone);
    EXPECT_EQ(Read(MakeZip({{"a", "12345"}, {"b", "123456"}}), {.totalBytes = 10}), UnzipTooLarge);
    EXPECT_EQ(Read(MakeZip({{std::string(1000, 'n'), ""}})), UnzipDone);
    EXPECT_EQ(Read(MakeZip({{std::string(1001, 'n'), ""}})), UnzipTooLarge);
}

TEST(ZipReader, ARatioCountsOnlyForLargeFiles) {
    const std::string zeros(100'000, '\0');
    EXPECT_EQ(Read(MakeZip({{"a", zeros}}), {.ratio = 200, .ratioCountsAboveBytes = 100'000}), UnzipDone);
    EXPECT_EQ(Read(MakeZip({{"a", zeros}}), {.ratio = 200, .ratioCountsAboveBytes = 99'999}), UnzipTooLarge);
    EXPECT_EQ(Read(MakeZip({{"a", LongText}}), {.ratio = 200, .ratioCountsAboveBytes = 1000}), UnzipDone);
}

TEST(ZipReader, AnExtractionEndsWhenItsSinkSaysSo) {
    const std::string archive = MakeZip({{"a", LongText}});
    ZipReader reader(Bytes(archive));
    ASSERT_EQ(reader.ReadDirectory(), UnzipDone);
    int calls = 0;
    EXPECT_EQ(reader.Extract(reader.Entries()[0], [&](std::span<const std::byte>) { return ++calls < 1; }),
              UnzipWriteFailed);
    EXPECT_EQ(calls, 1);
}

TEST(ZipNames, SafeOnesBecomePathsOfTheMachine) {
    EXPECT_EQ(SafePath("a/b\\c.txt"), "a\\b\\c.txt");
    EXPECT_EQ(SafePath("a/b/"), "a\\b");
    EXPECT_EQ(SafePath(".hidden"), ".hidden");
    EXPECT_EQ(SafePath("a..b"), "a..b");
    EXPECT_EQ(SafePath(" lead"), " lead");
    EXPECT_EQ(SafePath("console.txt"), "console.txt");
    EXPECT_EQ(SafePath("com.exe"), "com.exe");
    EXPECT_EQ(SafePath("com10"), "com10");
    EXPECT_EQ(SafePath("x.nul"), "x.nul");
    EXPECT_EQ(SafePath("\xc3\xbc"), "\xc3\xbc");
    EXPECT_EQ(SafePath("a<b>c|d?e*f\"g"), "a_b_c_d_e_f_g");
}

class UnsafeNames : public ::testing::TestWithParam<std::string> {};

TEST_P(UnsafeNames, AreRefused) {
    EXPECT_FALSE(SafePath(GetParam()).has_value());
}

INSTANTIATE_TEST_SUITE_P(All, UnsafeNames,
                         ::testing::Values(""s, "/"s, "\\"s, ".."s, "."s, "../x"s, "a/../x"s, "a/./x"s, "..\\x"s,
                                           "a\\..\\..\\x"s, "/etc/x"s, "\\x"s, "\\\\server\\share\\x"s, "//server/x"s,
                                           "C:/x"s, "C:x"s, "c:"s, "x:stream"s, "a/x::$DATA"s, "a//b"s, "x."s, "x "s,
                                           "a./b"s, "a /b"s, "..."s, "nul"s, "NUL.txt"s, "a/Con"s, "aux .c"s, "com1"s,
                                           "LPT9.x"s, "com\xc2\xb9"s, "prn/x"s, "CONIN$"s, "a\0b"s, "a\nb"s, "a\x7f"s,
                                           "\\\\?\\C:\\x"s, "\\??\\C:\\x"s));

TEST(ZipNames, TheOldCodePageIsMappedWhole) {
    EXPECT_EQ(Utf8FromCodePage437("abc\x7f"), "abc\x7f");
    EXPECT_EQ(Utf8FromCodePage437("\x80\xb0\xe0\xff"), "\xc3\x87\xe2\x96\x91\xce\xb1\xc2\xa0");
}

}  // namespace
}  // namespace kel::archive
