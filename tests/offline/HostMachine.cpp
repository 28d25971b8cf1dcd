#include "HostMachine.h"

#include <stdlib.h>

#include <fstream>
#include <iterator>
#include <span>

namespace kel::test {

namespace fs = std::filesystem;
using platform::SysError;

HostMachine::HostMachine() {
    std::string pattern = (fs::temp_directory_path() / "kel-offline-XXXXXX").string();
    EXPECT_NE(mkdtemp(pattern.data()), nullptr);
    scratch_ = pattern;
    fs::create_directories(Root());
    fs::create_directories(Outside());
    offline::MachineOptions options;
    options.writable = true;
    Reopen(options);
}

HostMachine::~HostMachine() {
    machine_.reset();
    std::error_code ignored;
    fs::remove_all(scratch_, ignored);
}

void HostMachine::Reopen(offline::MachineOptions options) {
    if (options.machine.empty()) {
        options.machine = Root();
    }
    machine_.reset();
    machine_ = std::make_unique<offline::OfflinePlatform>(options);
}

void HostMachine::Put(const fs::path& path, std::string_view bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream stream(path, std::ios::binary);
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    ASSERT_TRUE(stream.good()) << path;
}

std::string HostMachine::Get(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    EXPECT_TRUE(stream.good()) << path;
    return {std::istreambuf_iterator<char>(stream), {}};
}

void HostMachine::Mkdir(const fs::path& path) {
    fs::create_directories(path);
}

std::optional<std::string> HostMachine::Read(std::string_view path) {
    auto view = Files().View(path);
    if (!view) {
        return std::nullopt;
    }
    const auto bytes = (*view)->Bytes();
    return std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

SysError HostMachine::Write(std::string_view path, std::string_view bytes) {
    auto file = Files().Open(path, platform::OpenMode::Create);
    return file ? (*file)->Write(std::as_bytes(std::span(bytes))) : file.Error();
}

std::vector<std::string> HostMachine::Names(std::string_view pattern) {
    std::vector<std::string> names;
    platform::FindData entry;
    auto find = Files().FindFirst(pattern, entry);
    if (find) {
        do {
            names.push_back(entry.name);
        } while ((*find)->Next(entry) == SysError::Success);
    }
    return names;
}

SysError HostMachine::FindError(std::string_view pattern) {
    platform::FindData entry;
    return Files().FindFirst(pattern, entry).Error();
}

std::optional<platform::FindData> HostMachine::Entry(std::string_view path) {
    platform::FindData entry;
    if (!Files().FindFirst(path, entry)) {
        return std::nullopt;
    }
    return entry;
}

SysError HostMachine::AttributesError(std::string_view path) {
    return Files().Attributes(path).Error();
}

}  // namespace kel::test
