// Digests that are looked up where they lie.
#include "core/DigestOrder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <random>
#include <vector>

namespace kel {
namespace {

using Bytes = std::array<std::uint8_t, DigestSize>;

Bytes BytesOf(std::uint64_t first, std::uint64_t second) {
    Bytes bytes{};
    for (std::size_t i = 0; i < 8; ++i) {
        bytes[i] = static_cast<std::uint8_t>(first >> (56 - 8 * i));
        bytes[8 + i] = static_cast<std::uint8_t>(second >> (56 - 8 * i));
    }
    return bytes;
}

// Exactly as long as the digests, so that a sanitizer sees each read past them.
std::vector<std::uint8_t> Packed(const std::vector<Bytes>& digests) {
    std::vector<std::uint8_t> packed;
    for (const Bytes& digest : digests) {
        packed.insert(packed.end(), digest.begin(), digest.end());
    }
    packed.shrink_to_fit();
    return packed;
}

// Null when they are in no order. `piece` is what is taken in at a time.
std::unique_ptr<DigestOrder> OrderOf(const std::vector<std::uint8_t>& packed, std::size_t piece) {
    auto order = DigestOrder::Begin(packed.data(), packed.size() / DigestSize);
    if (!order) {
        return nullptr;
    }
    for (std::size_t at = 0; at < packed.size(); at += piece) {
        order->TakeUpTo(packed.data() + at);
    }
    return order->Finish() ? std::move(order) : nullptr;
}

std::vector<Bytes> Random(std::size_t count, std::uint64_t seed) {
    std::mt19937_64 random(seed);
    std::vector<Bytes> digests;
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint64_t first = random();
        digests.push_back(BytesOf(first, random()));
    }
    return digests;
}

TEST(DigestOrders, EachDigestIsFoundInItsRowWhateverIsTakenInAtATime) {
    for (const std::size_t count : {1U, 2U, 7U, 8U, 9U, 15U, 16U, 17U, 100U, 4'000U, 70'000U}) {
        auto digests = Random(count, count);
        std::sort(digests.begin(), digests.end());
        const auto packed = Packed(digests);
        for (const std::size_t piece : {std::size_t{4093}, std::size_t{128} * 1024}) {
            const auto order = OrderOf(packed, piece);
            ASSERT_TRUE(order);
            EXPECT_EQ(order->Rows(), count);
            for (std::size_t row = 0; row < count; ++row) {
                const Digest digest = Digest::Of(digests[row].data());
                order->FetchStart(digest);
                order->FetchRows(digest);
                ASSERT_EQ(order->Find(digest), row) << count;
            }
            for (const Bytes& other : Random(1'000, count + 1'000'000)) {
                ASSERT_EQ(order->Find(Digest::Of(other.data())), DigestOrder::None);
            }
        }
    }
}

TEST(DigestOrders, TheLeastAndTheGreatestDigestAreFound) {
    const auto packed = Packed({BytesOf(0, 0), BytesOf(~std::uint64_t{0}, ~std::uint64_t{0})});
    const auto order = OrderOf(packed, 16);
    ASSERT_TRUE(order);
    EXPECT_EQ(order->Find(Digest::Of(packed.data())), 0U);
    EXPECT_EQ(order->Find(Digest::Of(packed.data() + DigestSize)), 1U);
    EXPECT_EQ(order->Find(Digest::Of(BytesOf(1, 0).data())), DigestOrder::None);
}

TEST(DigestOrders, DigestsOfOneBucketAreFound) {
    std::vector<Bytes> digests;
    for (std::uint64_t i = 0; i < 50'000; ++i) {
        digests.push_back(BytesOf(7, 2 * i));
    }
    const auto packed = Packed(digests);
    const auto order = OrderOf(packed, 1'000);
    ASSERT_TRUE(order);
    for (std::uint64_t i = 0; i < 50'000; ++i) {
        const auto row = static_cast<std::size_t>(i);
        ASSERT_EQ(order->Find(Digest::Of(digests[row].data())), row);
        ASSERT_EQ(order->Find(Digest::Of(BytesOf(7, 2 * i + 1).data())), DigestOrder::None);
    }
}

TEST(DigestOrders, ADigestThatIsThereTwiceIsNoOrderWhereverItIs) {
    auto digests = Random(5'000, 1);
    std::sort(digests.begin(), digests.end());
    for (std::size_t row = 1; row < digests.size(); row += row < 40 ? 1 : 379) {
        auto twice = digests;
        twice[row] = twice[row - 1];
        EXPECT_FALSE(OrderOf(Packed(twice), 4'096)) << row;
    }
    digests.back() = digests[digests.size() - 2];
    EXPECT_FALSE(OrderOf(Packed(digests), 4'096));
}

TEST(DigestOrders, ADigestInFrontOfALesserOneIsNoOrderWhereverItIs) {
    auto digests = Random(5'000, 2);
    std::sort(digests.begin(), digests.end());
    for (std::size_t row = 1; row < digests.size(); row += row < 40 ? 1 : 379) {
        auto swapped = digests;
        std::swap(swapped[row], swapped[row - 1]);
        EXPECT_FALSE(OrderOf(Packed(swapped), 4'096)) << row;
    }
    // Of equal first halves the second ones tell.
    EXPECT_TRUE(OrderOf(Packed({BytesOf(5, 1), BytesOf(5, 2)}), 16));
    EXPECT_FALSE(OrderOf(Packed({BytesOf(5, 2), BytesOf(5, 1)}), 16));
}

TEST(DigestOrders, NoDigestsAreNoOrder) {
    EXPECT_FALSE(DigestOrder::Begin(nullptr, 0));
}

}  // namespace
}  // namespace kel
