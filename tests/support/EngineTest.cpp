#include "support/EngineTest.h"

namespace kel::test {

EngineTest::EngineTest() {
    installed_.emplace(machine_.View());
    scope_.emplace();
    MakeFolder(AppFolder());
    MakeFolder(UserFolder());
    State().App.Path = Folder() + "app";
    State().UserDataFolder = UserFolder();
    ObserveFailures([this](const FailureRecord& record) { reported_.push_back(record); });
}

EngineTest::~EngineTest() {
    ObserveFailures({});
    scope_.reset();
    installed_.reset();
}

void EngineTest::Install(const platform::Platform& platform) {
    installed_.reset();
    installed_.emplace(platform);
}

std::vector<std::string> EngineTest::ErrorLog() {
    std::vector<std::string> lines;
    const std::string path = UserFolder() + "logs\\errors.log";
    if (!Exists(path)) {
        return lines;
    }
    const std::string text = ReadFile(path);
    std::size_t start = 0;
    for (std::size_t end = text.find("\r\n"); end != std::string::npos; end = text.find("\r\n", start)) {
        lines.push_back(text.substr(start, end - start));
        start = end + 2;
    }
    EXPECT_EQ(start, text.size()) << "errors.log ends in the middle of a line";
    return lines;
}

}  // namespace kel::test
