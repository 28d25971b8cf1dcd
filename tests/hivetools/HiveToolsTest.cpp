#include "HiveToolsTest.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace kel::test {

namespace fs = std::filesystem;

namespace {

fs::path MakeFolder() {
    std::string pattern = (fs::temp_directory_path() / "kel-hivetools-XXXXXX").string();
    EXPECT_NE(::mkdtemp(pattern.data()), nullptr);
    return pattern;
}

void WriteFile(const fs::path& path, std::string_view bytes) {
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string ReadFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace

HiveToolsTest::HiveToolsTest() : folder_(MakeFolder()), streams_(MakeFolder()) {
}

HiveToolsTest::~HiveToolsTest() {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
    fs::remove_all(streams_, ignored);
}

std::string HiveToolsTest::Write(std::string_view name, std::string_view text) const {
    WriteFile(folder_ / name, text);
    return Path(name);
}

std::string HiveToolsTest::Write(std::string_view name, std::span<const std::byte> bytes) const {
    return Write(name, std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}

std::string HiveToolsTest::Read(std::string_view name) const {
    return ReadFile(folder_ / name);
}

std::vector<std::string> HiveToolsTest::Names() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::unique_ptr<offline::Hive> HiveToolsTest::New(std::uint32_t minor) {
    auto hive = NewHive(minor);
    hive->SetClock([] { return When; });
    return hive;
}

Outcome HiveToolsTest::Run(const std::string& program, const std::vector<std::string>& arguments,
                           const std::string& input, const std::string& output) const {
    const std::string in = (streams_ / "in").string();
    const std::string out = output.empty() ? (streams_ / "out").string() : output;
    const std::string err = (streams_ / "err").string();
    WriteFile(in, input);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, in.c_str(), O_RDONLY, 0);
    ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    std::vector<std::string> words{program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    pid_t child = -1;
    const int failed = ::posix_spawn(&child, program.c_str(), &actions, nullptr, pointers.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    Outcome outcome;
    EXPECT_EQ(failed, 0) << program;
    int status = 0;
    if (failed != 0 || ::waitpid(child, &status, 0) != child)
        return outcome;
    outcome.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    outcome.out = output.empty() ? ReadFile(out) : std::string();
    outcome.err = ReadFile(err);
    return outcome;
}

std::string HiveToolsTest::Real(const std::string& name) const {
    const char* named = std::getenv("KEL_HIVES");
    const fs::path folder =
        named != nullptr ? fs::path(named) : fs::path(KEL_SOURCE_DIR).parent_path() / "shared" / "hives";
    if (fs::exists(folder / name))
        return (folder / name).string();
    if (!fs::exists(folder / (name + ".xz")))
        return {};
    const std::string command = "xz -dc '" + (folder / (name + ".xz")).string() + "' > '" + Path(name) + "'";
    return std::system(command.c_str()) == 0 ? Path(name) : std::string();
}

std::vector<std::string> Lines(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

std::string LastLine(std::string_view text) {
    const auto lines = Lines(text);
    return lines.empty() ? std::string() : lines.back();
}

}  // namespace kel::test
