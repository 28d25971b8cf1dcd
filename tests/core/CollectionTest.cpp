#include "core/Collection.h"

#include "ErrorNumber.h"
#include "support/EngineTest.h"

namespace kel {
namespace {

using test::ErrorNumber;

class Collections : public test::EngineTest {};

TEST_F(Collections, ItemsAreCountedFromOneInTheirOrder) {
    Collection<int> items;
    items.Add(10);
    items.Add(20, "b");
    EXPECT_EQ(items.Count(), 2U);
    EXPECT_EQ(items.Item(std::size_t{1}), 10);
    EXPECT_EQ(items.Item(std::size_t{2}), 20);
    EXPECT_EQ(ErrorNumber([&] { (void)items.Item(std::size_t{0}); }), ErrSubscriptOutOfRange);
    EXPECT_EQ(ErrorNumber([&] { (void)items.Item(std::size_t{3}); }), ErrSubscriptOutOfRange);
}

TEST_F(Collections, KeysCompareWithoutRegardToCase) {
    Collection<int> items;
    items.Add(1, "Key");
    EXPECT_EQ(items.Item("KEY"), 1);
    EXPECT_TRUE(items.Contains("key"));
    EXPECT_EQ(ErrorNumber([&] { items.Add(2, "kEY"); }), ErrDuplicateKey);
    EXPECT_EQ(items.Count(), 1U);
    EXPECT_EQ(ErrorNumber([&] { (void)items.Item("other"); }), ErrInvalidProcedureCall);
    EXPECT_EQ(items.Find("other"), nullptr);
}

TEST_F(Collections, AfterARemovalPlacesAndKeysStillFit) {
    Collection<int> items;
    items.Add(1, "a");
    items.Add(2, "b");
    items.Add(3, "c");
    items.Remove("A");
    EXPECT_EQ(items.Item(std::size_t{1}), 2);
    EXPECT_EQ(items.Item("c"), 3);
    items.Remove(std::size_t{2});
    EXPECT_FALSE(items.Contains("c"));
    items.Add(4, "a");
    EXPECT_EQ(items.Item("a"), 4);
    EXPECT_EQ(ErrorNumber([&] { items.Remove("c"); }), ErrInvalidProcedureCall);
}

TEST_F(Collections, IterationGoesOverTheItemsInOrder) {
    Collection<int> items;
    items.Add(3);
    items.Add(1);
    items.Add(2);
    std::vector<int> seen;
    for (const int item : items) {
        seen.push_back(item);
    }
    EXPECT_EQ(seen, (std::vector<int>{3, 1, 2}));
}

}  // namespace
}  // namespace kel
