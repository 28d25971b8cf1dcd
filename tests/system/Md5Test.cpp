#include "system/Md5.h"

#include <string>
#include <string_view>

#include "core/RuntimeError.h"
#include "decorators/FaultInjectingPlatform.h"
#include "support/EngineTest.h"
#include "system/FileHash.h"
#include "system/modMD5.h"

namespace kel {
namespace {

constexpr std::string_view HashKey = "0123456789ab";

std::string Digest(std::string_view text) {
    Md5 digest;
    digest.Update(std::as_bytes(std::span(text)));
    return HexText(digest.Finish());
}

struct Vector {
    const char* text;
    const char* digest;
};
class Md5Vectors : public ::testing::TestWithParam<Vector> {};

TEST_P(Md5Vectors, HaveTheirKnownDigests) {
    EXPECT_EQ(Digest(GetParam().text), GetParam().digest);
}

INSTANTIATE_TEST_SUITE_P(
    Rfc1321, Md5Vectors,
    ::testing::Values(Vector{"", "d41d8cd98f00b204e9800998ecf8427e"}, Vector{"a", "0cc175b9c0f1b6a831c399e269772661"},
                      Vector{"abc", "900150983cd24fb0d6963f7d28e17f72"},
                      Vector{"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
                      Vector{"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
                      Vector{"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
                             "d174ab98d277d9f5a5611c2c9f419d9f"},
                      Vector{"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
                             "57edf4a22be3c955ac49da2e2107b67a"}));

TEST(Md5, IsTheSameHoweverTheBytesArrive) {
    std::string text;
    for (int i = 0; i < 400; ++i) {
        text += static_cast<char>(i * 7);
    }
    for (std::size_t length : {55U, 56U, 57U, 63U, 64U, 65U, 119U, 120U, 128U, 400U}) {
        const std::string part = text.substr(0, length);
        const std::string whole = Digest(part);
        for (std::size_t step : {1U, 3U, 63U, 64U, 65U, 127U}) {
            Md5 digest;
            for (std::size_t at = 0; at < part.size(); at += step) {
                digest.Update(std::as_bytes(std::span(std::string_view(part).substr(at, step))));
            }
            EXPECT_EQ(HexText(digest.Finish()), whole) << length << " by " << step;
        }
    }
}

TEST(Md5, OfAMillionLettersIsKnown) {
    EXPECT_EQ(Digest(std::string(1'000'000, 'a')), "7707d6ae4e027c70eea2a935c2296f21");
}

class FileMD5 : public test::EngineTest {
protected:
    FileMD5() {
        State().FileHashObject = std::make_shared<FileHash>(HashKey);
        OptMaxMD5Len() = 2'500'000;
    }
    std::string HashOf(std::string_view bytes) {
        WriteFile(Folder() + "x.bin", bytes);
        return modMD5::FileMD5(Folder() + "x.bin");
    }
};

TEST_F(FileMD5, OfAShortPathIsEmpty) {
    EXPECT_EQ(modMD5::FileMD5("C:\\"), "");
    EXPECT_EQ(modMD5::FileMD5(""), "");
}

TEST_F(FileMD5, BeginsAtAThousandBytes) {
    EXPECT_EQ(HashOf(std::string(999, 'x')), "");
    EXPECT_EQ(HashOf(std::string(1000, 'x')), Digest(std::string(1000, 'x')));
    EXPECT_EQ(HashOf(""), "");
}

TEST_F(FileMD5, EndsAtTheLimit) {
    OptMaxMD5Len() = 2000;
    EXPECT_EQ(HashOf(std::string(2000, 'x')), Digest(std::string(2000, 'x')));
    EXPECT_EQ(HashOf(std::string(2001, 'x')), "");
    OptMaxMD5Len() = 0;
    EXPECT_EQ(HashOf(std::string(2000, 'x')), "");
}

TEST_F(FileMD5, TakesInFilesOfSeveralBlocks) {
    std::string bytes(300'001, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<char>(i * i >> 3);
    }
    EXPECT_EQ(HashOf(bytes), Digest(bytes));
}

TEST_F(FileMD5, OfAFolderOrAMissingFileIsEmpty) {
    EXPECT_EQ(modMD5::FileMD5(Folder() + "app"), "");
    EXPECT_EQ(modMD5::FileMD5(Folder() + "missing"), "");
    EXPECT_TRUE(Reported().empty());
}

TEST_F(FileMD5, OfAFileThatCannotBeReadIsEmptyWithoutAReport) {
    WriteFile(Folder() + "locked.bin", std::string(5000, 'x'));
    WriteFile(Folder() + "bad.bin", std::string(5000, 'x'));
    decorators::FaultInjectingPlatform faults(Machine());
    faults.Lock(Folder() + "locked.bin");
    faults.FailReads(Folder() + "bad.bin", platform::SysError::IoFailed);
    Install(faults.View());
    EXPECT_EQ(modMD5::FileMD5(Folder() + "locked.bin"), "");
    EXPECT_EQ(modMD5::FileMD5(Folder() + "bad.bin"), "");
    EXPECT_TRUE(Reported().empty());
}

TEST_F(FileMD5, WithoutTheHashObjectIsEmpty) {
    State().FileHashObject = nullptr;
    EXPECT_EQ(HashOf(std::string(1000, 'x')), "");
}

TEST_F(FileMD5, KeyHasNoPartInTheDigest) {
    WriteFile(Folder() + "x.bin", "abc");
    EXPECT_EQ(FileHash("aaaaaaaaaaaa").FileMD5(Folder() + "x.bin"), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(FileHash("bbbbbbbbbbbb").FileMD5(Folder() + "x.bin"), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_THROW(FileHash("short"), RuntimeError);
}

// A file that can't be read is an error with the run time's number for it.
TEST_F(FileMD5, ObjectRaisesWhatKeepsItFromReading) {
    FileHash hash(HashKey);
    try {
        (void)hash.FileMD5(Folder() + "missing");
        FAIL();
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.Number(), ErrFileNotFound);
    }
}

}  // namespace
}  // namespace kel
