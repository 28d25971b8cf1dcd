#include <gmock/gmock.h>

#include "engine/modMain.h"
#include "support/EngineTest.h"

namespace kel::test {
namespace {

using ::testing::ElementsAre;

class TestApplication : public Application {
public:
    bool running = false;
    std::vector<std::string> calls;
    std::unique_ptr<frmHolder> form;

    bool PrevInstance() override {
        calls.emplace_back("PrevInstance");
        return running;
    }
    void SetTaskVisible(bool visible) override {
        calls.emplace_back(visible ? "visible" : "hidden");
        EXPECT_TRUE(State().DataInitialized) << "the task is hidden first";
    }
    void Load(std::unique_ptr<frmHolder> holder) override {
        calls.emplace_back("Load");
        EXPECT_FALSE(State().DataInitialized);
        form = std::move(holder);
    }
};

class Start : public EngineTest {
protected:
    Start() { State().DataInitialized = true; }
    TestApplication application;
};

TEST_F(Start, TheFirstInstanceHidesItsTaskAndKeepsAForm) {
    modMain::Main(application);
    EXPECT_THAT(application.calls, ElementsAre("PrevInstance", "hidden", "Load"));
    EXPECT_NE(application.form, nullptr);
    EXPECT_EQ(frmHolder::Caption, "Form1");
    EXPECT_FALSE(State().DataInitialized);
}

TEST_F(Start, NoDataAreReadAtTheStart) {
    modMain::Main(application);
    EXPECT_EQ(State().ThreatCatalog, nullptr);
    EXPECT_EQ(State().RsScanHistory, nullptr);
    EXPECT_FALSE(Exists(UserFolder() + "kelScanHistory.sdb"));
}

TEST_F(Start, ASecondInstanceLoadsNoForm) {
    application.running = true;
    modMain::Main(application);
    EXPECT_THAT(application.calls, ElementsAre("PrevInstance"));
    EXPECT_EQ(application.form, nullptr);
    EXPECT_TRUE(State().DataInitialized);
}

}  // namespace
}  // namespace kel::test
