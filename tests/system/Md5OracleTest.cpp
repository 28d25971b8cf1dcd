// FileMD5 against a library's MD5, over files of random lengths and bytes.
#ifdef KEL_WITH_OPENSSL

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <array>
#include <cstdint>
#include <random>
#include <string>

#include "support/EngineTest.h"
#include "system/FileHash.h"
#include "system/modMD5.h"

namespace kel {
namespace {

constexpr int Files = 10'000;
constexpr std::size_t Shortest = 900;
constexpr std::size_t LongestUsual = 12'000;
constexpr std::size_t Longest = 400'000;

std::string OracleDigest(const std::string& bytes) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned length = 0;
    EXPECT_EQ(EVP_Digest(bytes.data(), bytes.size(), digest.data(), &length, EVP_md5(), nullptr), 1);
    std::string text;
    for (unsigned i = 0; i < length; ++i) {
        text += "0123456789abcdef"[digest[i] >> 4];
        text += "0123456789abcdef"[digest[i] & 15U];
    }
    return text;
}

class FileMD5Oracle : public test::EngineTest {};

TEST_F(FileMD5Oracle, AgreesOnTenThousandRandomFiles) {
    State().FileHashObject = std::make_shared<FileHash>("0123456789ab");
    OptMaxMD5Len() = 2'500'000;
    std::mt19937_64 random(20240607);
    const std::string path = Folder() + "random.bin";
    int hashed = 0;
    for (int i = 0; i < Files; ++i) {
        // One file in a hundred is long enough to be read in several blocks.
        const std::size_t most = i % 100 == 0 ? Longest : LongestUsual;
        std::string bytes(Shortest + random() % (most - Shortest), '\0');
        for (char& c : bytes) {
            c = static_cast<char>(random());
        }
        WriteFile(path, bytes);
        const std::string expected = bytes.size() < 1000 ? "" : OracleDigest(bytes);
        hashed += expected.empty() ? 0 : 1;
        ASSERT_EQ(modMD5::FileMD5(path), expected) << "file " << i << " of " << bytes.size() << " bytes";
    }
    EXPECT_GT(hashed, Files * 9 / 10);
}

}  // namespace
}  // namespace kel

#endif
