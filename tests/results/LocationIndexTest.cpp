#include "results/LocationIndex.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>

#include "core/Collection.h"
#include "results/DetectedThreat.h"
#include "support/EngineTest.h"

namespace kel {
namespace {

struct Counted {
    std::int32_t number = 0;
    static inline int read = 0;
};

std::int32_t NumberOf(const Counted& location) {
    ++Counted::read;
    return location.number;
}

class LocationIndexes : public test::EngineTest {
protected:
    LocationIndexes() { Counted::read = 0; }

    void Add(std::int32_t number) { list->Add(std::make_shared<Counted>(Counted{number})); }

    std::shared_ptr<Collection<std::shared_ptr<Counted>>> list =
        std::make_shared<Collection<std::shared_ptr<Counted>>>();
    LocationIndex<Counted, &NumberOf> index;
};

TEST_F(LocationIndexes, ReadEachLocationOnceHoweverManyAreAskedForAndAdded) {
    constexpr std::int32_t Many = 1000;
    for (std::int32_t number = 0; number < Many; ++number) {
        EXPECT_FALSE(index.Holds(list, number));
        Add(number);
        EXPECT_TRUE(index.Holds(list, number));
    }
    EXPECT_EQ(Counted::read, Many);
}

TEST_F(LocationIndexes, ReadAllAnewAfterARemovalAndAChangeInPlace) {
    for (const std::int32_t number : {1, 2, 3}) {
        Add(number);
    }
    EXPECT_TRUE(index.Holds(list, 2));
    list->Remove(std::size_t{2});
    EXPECT_FALSE(index.Holds(list, 2));
    list->Item(1)->number = 7;
    ++ModuleData<LocationChanges>().count;
    EXPECT_TRUE(index.Holds(list, 7));
    EXPECT_FALSE(index.Holds(list, 1));
}

TEST_F(LocationIndexes, EndAtALocationThatIsNothing) {
    Add(1);
    list->Add(nullptr);
    Add(2);
    EXPECT_TRUE(index.Holds(list, 1));
    EXPECT_FALSE(index.Holds(list, 2));
    EXPECT_FALSE(index.Holds(nullptr, 1));
}

TEST_F(LocationIndexes, OfADetectionSeeEveryFieldThatIsChangedInPlace) {
    DetectedThreat threat;
    const auto key = std::make_shared<ThreatLocationRegKey>(1, "key", "name", "data");
    threat.ThreatLocationRegKeys->Add(key);
    EXPECT_TRUE(threat.HasRegKey(1, "key", "name", "data"));
    key->SetRegHive(2);
    EXPECT_TRUE(threat.HasRegKey(2, "key", "name", "data"));
    key->SetRegkey("other");
    EXPECT_TRUE(threat.HasRegKey(2, "other", "name", "data"));
    key->SetRegValueName("");
    EXPECT_TRUE(threat.HasRegKey(2, "other", "", "data"));
    key->SetRegValueData("x");
    EXPECT_TRUE(threat.HasRegKey(2, "other", "", "x"));
    EXPECT_FALSE(threat.HasRegKey(2, "other", "x", ""));
    EXPECT_FALSE(threat.HasRegKey(1, "key", "name", "data"));

    const auto custom = std::make_shared<ThreatLocationCustom>(5);
    threat.ThreatLocationCustoms->Add(custom);
    EXPECT_TRUE(threat.HasCustom(5));
    custom->SetCustomID(6);
    EXPECT_TRUE(threat.HasCustom(6));
    EXPECT_FALSE(threat.HasCustom(5));
}

}  // namespace
}  // namespace kel
