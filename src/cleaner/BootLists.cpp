#include "cleaner/BootLists.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Text.h"
#include "platform/Platform.h"
#include "rules/modCleanerHelper.h"
#include "system/modHelper.h"
#include "system/modRegistry.h"

namespace kel {

namespace {

constexpr std::string_view Program = "kelASCleaner.exe";
constexpr std::string_view Listed = "1";
constexpr std::size_t ShortestKey = 6;

// Keys that a running threat makes again.
constexpr std::string_view KeysWrittenBack[] = {
    R"(CurrentVersion\Explorer\Browser Helper Objects)",
    R"(Internet Explorer\Extensions)",
    R"(Code Store Database\Distribution Units)",
};

// Keys whose values a running threat makes again.
constexpr std::string_view ValuesWrittenBack[] = {
    R"(PROTOCOLS\Filter)",
    R"(Internet Explorer\Toolbar\ShellBrowser)",
    R"(Internet Explorer\Toolbar\WebBrowser)",
    R"(Internet Explorer\Explorer Bars)",
    R"(Internet Explorer\Toolbar)",
    R"(Internet Explorer\URLSearchHooks)",
    R"(Explorer\ShellExecuteHooks)",
    R"(CurrentVersion\ShellServiceObjectDelayLoad)",
    R"(CurrentVersion\Run)",
};

template <std::size_t Size>
bool IsAmong(const std::string_view (&places)[Size], std::string_view key) {
    return std::any_of(std::begin(places), std::end(places),
                       [key](std::string_view place) { return ContainsText(key, place); });
}

std::string FullKey(platform::Hive hive, std::string_view key) {
    return modHelper::GetRegistryHiveNameFromHive(hive).append("\\").append(key);
}

void WriteText(std::string_view key, std::string_view name, std::string_view data) {
    if (boot::HasNextStart()) {
        modRegistry::SetRegistryValue(platform::HiveCurrentUser, key, name, std::string(data), modRegistry::TypeSz);
    }
}

void PutOnce(std::string_view list, std::string_view name) {
    if (!boot::Holds(list, name)) {
        boot::Put(list, name, Listed);
    }
}

}  // namespace

bool boot::HasNextStart() {
    return platform::Current().can.live;
}

void boot::Schedule() {
    WriteText(RunOnce, RunOnceValue, State().App.Path + "\\" + std::string(Program));
}

void boot::NameUserData(std::string_view folder) {
    ResumeNext([&] { WriteText(Product, UserDataValue, folder); });
}

bool boot::Holds(std::string_view list, std::string_view name) {
    return HasNextStart() && modRegistry::RegValueExists(platform::HiveCurrentUser, list, name);
}

void boot::Put(std::string_view list, std::string_view name, std::string_view data) {
    WriteText(list, name, data);
    Schedule();
}

void modCleanerHelper::AddCleanerFolder(std::string_view path) {
    ResumeNext([&] {
        if (!RestrictRemoveFolder(path)) {
            PutOnce(boot::DelFolders, path);
        }
    });
}

void modCleanerHelper::AddCleanerFile(std::string_view path) {
    ResumeNext([&] {
        if (!RestrictRemoveFile(path)) {
            PutOnce(boot::DelFiles, path);
        }
    });
}

void modCleanerHelper::AddCleanerRegKey(platform::Hive hive, std::string_view key) {
    ResumeNext([&] {
        if (key.size() >= ShortestKey && !RestrictRemoveRegistryKey(hive, key)) {
            PutOnce(boot::DelRegKeys, FullKey(hive, key));
        }
    });
}

void modCleanerHelper::AddCleanerRegValue(platform::Hive hive, std::string_view key, std::string_view name) {
    ResumeNext([&] {
        if (key.size() < ShortestKey || RestrictRemoveRegistryValue(hive, key, name)) {
            return;
        }
        const std::int32_t number =
            boot::HasNextStart() ? modRegistry::RegistryValueCount(platform::HiveCurrentUser, boot::DelRegValues) + 1
                                 : 1;
        boot::Put(boot::DelRegValues, FullKey(hive, key).append(" ").append(Text(number)), name);
    });
}

void modCleanerHelper::AddCleanerRegKeyByLocation(platform::Hive hive, std::string_view key) {
    ResumeNext([&] {
        if (IsAmong(KeysWrittenBack, key)) {
            AddCleanerRegKey(hive, key);
        }
    });
}

void modCleanerHelper::AddCleanerRegValueByLocation(platform::Hive hive, std::string_view key, std::string_view name) {
    ResumeNext([&] {
        if (IsAmong(ValuesWrittenBack, key)) {
            AddCleanerRegValue(hive, key, name);
        }
    });
}

}  // namespace kel
