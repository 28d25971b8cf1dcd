#include "RecordRunTest.h"

#include <fstream>
#include <random>
#include <sstream>

#include "CapturedStream.h"
#include "frontend/CommandLine.h"
#include "frontend/Machine.h"

namespace kel::test {

namespace fs = std::filesystem;

namespace {

void ReplaceAll(std::string& text, const std::string& what, const std::string& with) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size()) {
        text.replace(at, what.size(), with);
    }
}

}  // namespace

RecordRunTest::RecordRunTest() {
    root_ = fs::temp_directory_path() / ("kel-records-" + std::to_string(std::random_device()()));
    EXPECT_TRUE(fs::create_directories(root_ / "data"));
    EXPECT_TRUE(fs::create_directories(root_ / "user"));
    tables.threats = {{9001, "Example.Adware.One", "Adware", 2}, {9002, "Example.Trojan.Two", "Trojan", 0}};
    MakeTables();
}

RecordRunTest::~RecordRunTest() {
    std::error_code ignored;
    fs::remove_all(root_, ignored);
}

void RecordRunTest::MakeTables() const {
    frontend::Machine machine{frontend::SessionOptions{}};
    const std::string folder = machine.HostFolder(Data());
    const platform::PlatformScope installed(machine.View());
    tables.WriteTo(folder);
}

void RecordRunTest::WithEngine(const std::function<void(frontend::DataSession&)>& work) const {
    frontend::RecordOptions options;
    options.data = Data();
    options.userData = UserData();
    frontend::DataSession session(options);
    session.LoadThreats();
    session.LoadHistory();
    work(session);
}

int RecordRunTest::Run(std::vector<std::string> arguments) {
    arguments.insert(arguments.end(), {"--data", Data(), "--user-data", UserData()});
    return RunAsItStands(arguments);
}

int RecordRunTest::RunAsItStands(const std::vector<std::string>& arguments) {
    const CapturedStream outStream;
    const CapturedStream errStream;
    const int code = frontend::Run(arguments, {outStream.File(), errStream.File()});
    out = Shown(outStream.Text());
    err = Shown(errStream.Text());
    return code;
}

std::string RecordRunTest::Shown(std::string text) const {
    ReplaceAll(text, "\r\n", "\n");
    ReplaceAll(text, root_.string(), "<root>");
#ifdef _WIN32
    for (const char* folder : {"", "/user", "/data"}) {
        ReplaceAll(text, std::string("<root>") + folder + "\\", std::string("<root>") + folder + "/");
    }
#endif
    return text;
}

void RecordRunTest::WriteHostFile(const fs::path& path, std::string_view bytes) {
    std::ofstream stream(path, std::ios::binary);
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    EXPECT_TRUE(stream.good()) << path;
}

std::string RecordRunTest::HostFile(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

}  // namespace kel::test
