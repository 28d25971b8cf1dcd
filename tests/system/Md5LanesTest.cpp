// Every kernel that this processor runs, against the one-stream digest and, where it is linked, a library's.
#include "system/Md5Lanes.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "support/EnvironmentVariable.h"
#ifdef KEL_WITH_OPENSSL
#include <openssl/evp.h>
#endif

namespace kel {
namespace {

using Bytes = std::vector<std::byte>;

Bytes RandomBytes(std::size_t size, unsigned seed) {
    std::mt19937 random(seed);
    Bytes bytes(size);
    for (std::byte& byte : bytes) {
        byte = static_cast<std::byte>(random());
    }
    return bytes;
}

std::string Expected(const Bytes& bytes) {
    Md5 md5;
    md5.Update(bytes);
    std::string digest = HexText(md5.Finish());
#ifdef KEL_WITH_OPENSSL
    std::array<unsigned char, EVP_MAX_MD_SIZE> other{};
    unsigned length = 0;
    EXPECT_EQ(EVP_Digest(bytes.data(), bytes.size(), other.data(), &length, EVP_md5(), nullptr), 1);
    Md5Digest theirs{};
    std::copy_n(other.begin(), theirs.size(), theirs.begin());
    EXPECT_EQ(HexText(theirs), digest) << bytes.size();
#endif
    return digest;
}

// Digests of texts of one length, one in each lane.
std::vector<std::string> Digests(const Md5Kernel& kernel, const std::vector<Bytes>& texts) {
    alignas(64) std::array<std::uint32_t, 4 * MaxMd5Lanes> state{};
    std::vector<Bytes> padded(texts);
    std::array<const std::byte*, MaxMd5Lanes> data{};
    const std::size_t length = texts.front().size();
    std::size_t blocks = 0;
    for (std::size_t lane = 0; lane < kernel.lanes; ++lane) {
        padded[lane].resize(length + 2 * Md5BlockBytes, std::byte{0x55});
        const std::size_t whole = length / Md5BlockBytes;
        blocks = whole + PadMd5Tail(padded[lane].data() + whole * Md5BlockBytes, length);
        data[lane] = padded[lane].data();
        for (std::size_t row = 0; row < 4; ++row) {
            state[row * kernel.lanes + lane] = Md5Start[row];
        }
    }
    kernel.transform(state.data(), data.data(), blocks);
    std::vector<std::string> digests;
    for (std::size_t lane = 0; lane < kernel.lanes; ++lane) {
        Md5Digest digest{};
        for (std::size_t i = 0; i < digest.size(); ++i) {
            digest[i] = static_cast<std::uint8_t>(state[(i / 4) * kernel.lanes + lane] >> (8 * (i % 4)));
        }
        digests.push_back(HexText(digest));
    }
    return digests;
}

class Md5Kernels : public ::testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        kernel = FindMd5Kernel(GetParam());
        if (kernel == nullptr) {
            GTEST_SKIP() << "this processor lacks " << GetParam();
        }
    }
    const Md5Kernel* kernel = nullptr;
};

// At each length every lane but one holds the same text, and the odd one moves on from length to length.
TEST_P(Md5Kernels, DigestEveryLengthAsOneStreamDoes) {
    for (std::size_t length = 0; length <= 4096; ++length) {
        const Bytes usual = RandomBytes(length, static_cast<unsigned>(length));
        const Bytes odd = RandomBytes(length, static_cast<unsigned>(length) + 5000);
        std::vector<Bytes> texts(kernel->lanes, usual);
        const std::size_t place = length % kernel->lanes;
        texts[place] = odd;
        const std::string usualDigest = Expected(usual);
        const std::string oddDigest = Expected(odd);
        const auto digests = Digests(*kernel, texts);
        for (std::size_t lane = 0; lane < digests.size(); ++lane) {
            ASSERT_EQ(digests[lane], lane == place ? oddDigest : usualDigest) << length << " in lane " << lane;
        }
    }
}

TEST_P(Md5Kernels, DigestALargeTextInEveryLane) {
    std::mt19937 random(7);
    for (int round = 0; round < 3; ++round) {
        const std::size_t length = 50'000 + random() % 300'000;
        std::vector<Bytes> texts;
        for (std::size_t lane = 0; lane < kernel->lanes; ++lane) {
            texts.push_back(RandomBytes(length, static_cast<unsigned>(random())));
        }
        const auto digests = Digests(*kernel, texts);
        for (std::size_t lane = 0; lane < digests.size(); ++lane) {
            EXPECT_EQ(digests[lane], Expected(texts[lane])) << length << " in lane " << lane;
        }
    }
}

TEST_P(Md5Kernels, AreForcedByTheEnvironment) {
    const test::EnvironmentVariable forced("KEL_MD5", GetParam());
    EXPECT_STREQ(ChosenMd5Kernel().name, GetParam());
}

INSTANTIATE_TEST_SUITE_P(All, Md5Kernels, ::testing::Values("scalar", "sse2", "avx2", "avx512"));

TEST(Md5Kernel, FastestIsChosenUnlessTheEnvironmentNamesAKnownOne) {
    {
        const test::EnvironmentVariable none("KEL_MD5", nullptr);
        EXPECT_STREQ(ChosenMd5Kernel().name, kel::Md5Kernels().back().name);
    }
    const test::EnvironmentVariable unknown("KEL_MD5", "abacus");
    EXPECT_STREQ(ChosenMd5Kernel().name, kel::Md5Kernels().back().name);
    EXPECT_STREQ(kel::Md5Kernels().front().name, "scalar");
    EXPECT_EQ(FindMd5Kernel("abacus"), nullptr);
}

}  // namespace
}  // namespace kel
