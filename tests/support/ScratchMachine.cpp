#include "support/ScratchMachine.h"

#include <gtest/gtest.h>

#include <atomic>
#include <span>
#include <vector>

#ifdef _WIN32
#include "windows/WindowsPlatform.h"
#else
#include <stdlib.h>

#include <filesystem>
#include <fstream>

#include "offline/OfflinePlatform.h"
#endif

namespace kel::test {

namespace {

using platform::SysError;

[[maybe_unused]] std::string Number(std::uint64_t number) {
    return std::to_string(number);
}

[[maybe_unused]] void RemoveKeyTree(platform::Registry& registry, const std::string& key) {
    for (;;) {
        std::string child;
        {
            auto open = registry.Open(platform::HiveCurrentUser, key);
            if (!open) {
                return;
            }
            auto name = (*open)->EnumKey(0);
            if (!name) {
                break;
            }
            child = *name;
        }
        RemoveKeyTree(registry, key + "\\" + child);
    }
    registry.RemoveKey(platform::HiveCurrentUser, key);
}

}  // namespace

#ifdef _WIN32

struct ScratchMachine::Impl {
    windows::WindowsPlatform platform;
};

ScratchMachine::ScratchMachine() : impl_(std::make_unique<Impl>()) {
    static std::atomic<unsigned> serial{0};
    const platform::Platform view = View();
    const std::string name = Number(view.processes->CurrentId()) + "-" + Number(++serial);
    view.files->MakeFolder("C:\\keltest");
    folder_ = "C:\\keltest\\" + name + "\\";
    RemoveTree(view, folder_);
    MakeFolder(view, folder_);
    key_ = "Software\\KelTest\\" + name;
    RemoveKeyTree(*view.registry, key_);
    EXPECT_TRUE(view.registry->Create(platform::HiveCurrentUser, key_).Ok());
}

ScratchMachine::~ScratchMachine() {
    const platform::Platform view = View();
    view.files->SetCurrentFolder("C:\\");
    RemoveTree(view, folder_);
    RemoveKeyTree(*view.registry, key_);
}

#else

namespace fs = std::filesystem;

namespace {

void WriteHostFile(const fs::path& path, std::string_view text) {
    std::ofstream stream(path, std::ios::binary);
    stream.write(text.data(), static_cast<std::streamsize>(text.size()));
    EXPECT_TRUE(stream.good()) << path;
}

// What Wine 8 writes for a fresh prefix, as far as the engine looks at it.
constexpr std::string_view SystemReg =
    "WINE REGISTRY Version 2\n"
    ";; All keys relative to \\\\Machine\n"
    "\n"
    "#arch=win64\n"
    "\n"
    "[Software\\\\Classes] 1700000000\n"
    "#time=1da1747c9e5c000\n"
    "\n"
    "[Software\\\\Microsoft\\\\Windows NT\\\\CurrentVersion] 1700000000\n"
    "#time=1da1747c9e5c000\n"
    "\"CSDVersion\"=\"Service Pack 3\"\n"
    "\"CurrentBuildNumber\"=\"2600\"\n"
    "\"CurrentVersion\"=\"5.1\"\n"
    "\"ProductName\"=\"Microsoft Windows XP\"\n"
    "\"SystemRoot\"=\"C:\\\\windows\"\n"
    "\n"
    "[Software\\\\Microsoft\\\\Windows\\\\CurrentVersion] 1700000000\n"
    "#time=1da1747c9e5c000\n"
    "\"CommonFilesDir\"=\"C:\\\\Program Files\\\\Common Files\"\n"
    "\"ProgramFilesDir\"=\"C:\\\\Program Files\"\n";

constexpr std::string_view UserReg =
    "WINE REGISTRY Version 2\n"
    ";; All keys relative to \\\\User\\\\S-1-5-21-0-0-0-1000\n"
    "\n"
    "#arch=win64\n"
    "\n"
    "[Environment] 1700000000\n"
    "#time=1da1747c9e5c000\n"
    "\"TEMP\"=str(2):\"%USERPROFILE%\\\\Temp\"\n"
    "\n"
    "[Software\\\\Wine] 1700000000\n"
    "#time=1da1747c9e5c000\n"
    "\"Version\"=\"winxp\"\n";

constexpr std::string_view UserDefReg =
    "WINE REGISTRY Version 2\n"
    ";; All keys relative to \\\\User\\\\.Default\n"
    "\n"
    "#arch=win64\n";

}  // namespace

struct ScratchMachine::Impl {
    fs::path root;
    std::unique_ptr<offline::OfflinePlatform> platform;
};

ScratchMachine::ScratchMachine() : impl_(std::make_unique<Impl>()) {
    std::string pattern = (fs::temp_directory_path() / "kel-test-XXXXXX").string();
    EXPECT_NE(mkdtemp(pattern.data()), nullptr);
    impl_->root = pattern;
    const fs::path drive = impl_->root / "drive_c";
    const std::string menu = "Microsoft/Windows/Start Menu/Programs/StartUp";
    for (const std::string& folder :
         std::vector<std::string>{"windows/system32",
                                  "windows/system",
                                  "windows/temp",
                                  "Program Files/Common Files",
                                  "ProgramData/" + menu,
                                  "users/Public/Desktop",
                                  "users/Public/Documents",
                                  "users/Public/Favorites",
                                  "users/tester/AppData/Roaming/" + menu,
                                  "users/tester/AppData/Roaming/Microsoft/Windows/Recent",
                                  "users/tester/AppData/Roaming/Microsoft/Windows/SendTo",
                                  "users/tester/AppData/Roaming/Microsoft/Windows/Templates",
                                  "users/tester/AppData/Local/Temp",
                                  "users/tester/AppData/Local/Microsoft/Windows/INetCache",
                                  "users/tester/AppData/Local/Microsoft/Windows/INetCookies",
                                  "users/tester/AppData/Local/Microsoft/Windows/History",
                                  "users/tester/Desktop",
                                  "users/tester/Documents",
                                  "users/tester/Favorites",
                                  "users/tester/Pictures"}) {
        fs::create_directories(drive / folder);
    }
    WriteHostFile(impl_->root / "system.reg", SystemReg);
    WriteHostFile(impl_->root / "user.reg", UserReg);
    WriteHostFile(impl_->root / "userdef.reg", UserDefReg);
    offline::MachineOptions options;
    options.machine = impl_->root;
    options.user = "tester";
    options.writable = true;
    impl_->platform = std::make_unique<offline::OfflinePlatform>(options);
    folder_ = "C:\\keltest\\";
    MakeFolder(View(), folder_);
    key_ = "Software\\KelTest";
    EXPECT_TRUE(View().registry->Create(platform::HiveCurrentUser, key_).Ok());
}

ScratchMachine::~ScratchMachine() {
    impl_->platform.reset();
    std::error_code ignored;
    for (auto entry = fs::recursive_directory_iterator(impl_->root, ignored);
         entry != fs::recursive_directory_iterator(); entry.increment(ignored)) {
        if (entry->is_directory(ignored) && !entry->is_symlink(ignored)) {
            fs::permissions(entry->path(), fs::perms::owner_all, fs::perm_options::add, ignored);
        }
    }
    fs::remove_all(impl_->root, ignored);
}

#endif

platform::Platform ScratchMachine::View() const {
    return impl_
        ->platform
#ifdef _WIN32
        .View();
#else
        ->View();
#endif
}

void WriteFile(const platform::Platform& platform, std::string_view path, std::string_view bytes) {
    auto file = platform.files->Open(path, platform::OpenMode::Create);
    ASSERT_TRUE(file.Ok()) << path << ": error " << platform::Number(file.Error());
    EXPECT_EQ((*file)->Write(std::as_bytes(std::span(bytes))), SysError::Success) << path;
}

std::string ReadFile(const platform::Platform& platform, std::string_view path) {
    auto view = platform.files->View(path);
    EXPECT_TRUE(view.Ok()) << path << ": error " << platform::Number(view.Error());
    if (!view) {
        return {};
    }
    const auto bytes = (*view)->Bytes();
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

void MakeFolder(const platform::Platform& platform, std::string_view path) {
    std::string bare(path);
    while (bare.size() > 3 && bare.back() == '\\') {
        bare.pop_back();
    }
    if (platform.files->PathExists(bare)) {
        return;
    }
    const std::size_t parent = bare.rfind('\\');
    if (parent != std::string::npos && parent > 2) {
        MakeFolder(platform, std::string_view(bare).substr(0, parent));
    }
    EXPECT_EQ(platform.files->MakeFolder(bare), SysError::Success) << bare;
}

void RemoveTree(const platform::Platform& platform, std::string_view path) {
    std::string folder(path);
    if (folder.empty() || folder.back() != '\\') {
        folder += '\\';
    }
    std::vector<platform::FindData> entries;
    {
        platform::FindData entry;
        auto find = platform.files->FindFirst(folder + "*", entry);
        if (!find) {
            return;
        }
        do {
            if (entry.name != "." && entry.name != "..") {
                entries.push_back(entry);
            }
        } while ((*find)->Next(entry) == SysError::Success);
    }
    for (const platform::FindData& entry : entries) {
        const std::string child = folder + entry.name;
        platform.files->SetAttributes(child, platform::AttributeNormal);
        if ((entry.attributes & platform::AttributeDirectory) != 0) {
            RemoveTree(platform, child);
        } else {
            platform.files->Remove(child);
        }
    }
    folder.pop_back();
    platform.files->RemoveFolder(folder);
}

}  // namespace kel::test
