#include "core/EngineState.h"

#include "ErrorNumber.h"
#include "core/Guid.h"
#include "support/EngineTest.h"

namespace kel {
namespace {

class StateOfTheEngine : public test::EngineTest {};

TEST_F(StateOfTheEngine, StartsWithItsDefaults) {
    EngineScope fresh;
    EXPECT_EQ(State().CurrentLanguage, LanguageEnglish);
    EXPECT_EQ(State().CurrentVersionType, VersionTypeClient);
    EXPECT_EQ(State().UserDataRootPath, "");
    EXPECT_FALSE(State().UserDataFolderIsSet);
    EXPECT_EQ(State().UserDataFolder, "");
    EXPECT_FALSE(State().DataInitialized);
    EXPECT_EQ(State().ThreatDataFileLength, 0);
    EXPECT_EQ(State().ThreatDataVersion, "");
    EXPECT_EQ(State().ThreatCatalog, nullptr);
    EXPECT_EQ(State().RsScanHistory, nullptr);
    EXPECT_FALSE(ScanAbortFlag());
    EXPECT_EQ(LastOptionalScan(), 0);
    EXPECT_EQ(OptMaxOptionLevel(), 0);
    EXPECT_EQ(OptMaxMD5Len(), 0);
}

TEST_F(StateOfTheEngine, AScopeInsideGivesBackWhatWasBefore) {
    State().ThreatDataVersion = "outer";
    ScanAbortFlag() = true;
    {
        EngineScope inner;
        EXPECT_EQ(State().ThreatDataVersion, "");
        EXPECT_FALSE(ScanAbortFlag());
        State().ThreatDataVersion = "inner";
    }
    EXPECT_EQ(State().ThreatDataVersion, "outer");
    EXPECT_TRUE(ScanAbortFlag());
}

struct Counter {
    int calls = 0;
};

TEST_F(StateOfTheEngine, ModuleDataIsMadeOnceForEachScope) {
    EXPECT_EQ(ModuleData<Counter>().calls, 0);
    ++ModuleData<Counter>().calls;
    EXPECT_EQ(ModuleData<Counter>().calls, 1);
    EngineScope inner;
    EXPECT_EQ(ModuleData<Counter>().calls, 0);
}

// Module data that reads other module data when it is made.
struct Dependent {
    int seen = ++ModuleData<Counter>().calls;
};

TEST_F(StateOfTheEngine, ModuleDataMayNeedOtherModuleData) {
    EXPECT_EQ(ModuleData<Dependent>().seen, 1);
    EXPECT_EQ(ModuleData<Dependent>().seen, 1);
}

TEST_F(StateOfTheEngine, DoEventsLetsThePlatformsLoopRun) {
    struct Loop : platform::MessageLoop {
        int runs = 0;
        void DoEvents() override { ++runs; }
    } loop;
    platform::Platform platform = Machine();
    platform.loop = &loop;
    Install(platform);
    DoEvents();
    EXPECT_EQ(loop.runs, 1);
}

TEST_F(StateOfTheEngine, IdentifiersAreThirtyCharactersOfANewGuid) {
    struct Clock : platform::Clock {
        platform::Date Now() override { return {}; }
        std::uint64_t Ticks() override { return 0; }
        std::string DateText(platform::Date /*date*/) override { return {}; }
        std::string ShortDateText(platform::Date /*date*/) override { return {}; }
        platform::Guid NewGuid() override {
            return {0x78, 0x56, 0x34, 0x12, 0xBC, 0x9A, 0xF0, 0xDE, 0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF};
        }
    } clock;
    platform::Platform platform = Machine();
    platform.clock = &clock;
    Install(platform);
    EXPECT_EQ(RegistryForm(clock.NewGuid()), "{12345678-9ABC-DEF0-0123-456789ABCDEF}");
    EXPECT_EQ(NewGuidString(), "12345678-9ABC-DEF0-0123-456789");
}

TEST_F(StateOfTheEngine, IdentifiersDiffer) {
    EXPECT_NE(NewGuidString(), NewGuidString());
    EXPECT_EQ(NewGuidString().size(), 30U);
}

}  // namespace
}  // namespace kel
