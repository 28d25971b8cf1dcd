#include "companions/StartWork.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <optional>
#include <utility>

#include "cleaner/BootLists.h"
#include "companions/BootEntries.h"
#include "companions/ProcessTree.h"
#include "core/Paths.h"
#include "core/Text.h"
#include "platform/Platform.h"
#include "system/modFiles.h"
#include "system/modHelper.h"
#include "system/modRegistry.h"

namespace kel::companions {

namespace {

using Entries = std::vector<BootEntry>;

std::string Numbered(platform::SysError error) {
    return "error " + Text(static_cast<std::int64_t>(platform::Number(error)));
}

bool IsFileThere(const std::string& path) {
    return modFiles::FileExists(path);
}

bool IsFolderThere(const std::string& path) {
    return modFiles::FolderExists(path);
}

bool IsKeyThere(const std::string& entry) {
    return modRegistry::RegKeyExists(modHelper::GetRegistryHiveFromFullPath(entry),
                                     modHelper::GetRegistryKeyFromFullPath(entry));
}

// The lists that the engine works, in the order of the work.
struct List {
    std::string_view name;
    std::string_view key;
    void (Engine::*run)();
    bool (*isThere)(const std::string& entry);  ///< null: an entry does not tell
};

constexpr List Lists[] = {
    {"DelFolders", boot::DelFolders, &Engine::RunAllCleanerFolders, IsFolderThere},
    {"DelFiles", boot::DelFiles, &Engine::RunAllCleanerFiles, IsFileThere},
    {"DelRegKeys", boot::DelRegKeys, &Engine::RunAllCleanerRegistryKeys, IsKeyThere},
    {"DelRegValues", boot::DelRegValues, &Engine::RunAllCleanerRegistryValues, nullptr},
};

constexpr std::string_view ThreatsName = "CleanerExe";
constexpr std::string_view DestroyName = "CleanerExe\\Destroy";

// The number of a threat in its decimal form.
std::optional<std::int32_t> ThreatNumber(std::string_view text) {
    const std::optional<std::uint32_t> number = ProcessNumber(text);
    if (!number || *number > 0x7FFFFFFFU) {
        return std::nullopt;
    }
    return static_cast<std::int32_t>(*number);
}

class Start {
public:
    Start(Engine& engine, WorkLog& log) : engine_(engine), log_(log) {}

    StartEnd Run(std::string userData, bool isChosen);

private:
    [[nodiscard]] std::optional<Entries> Read(std::string_view name, std::string_view key);
    void OpenEngine(std::string userData, bool isChosen);
    void WorkList(const List& list, const Entries& entries);
    void WorkThreat(const BootEntry& entry);
    void WorkDestruction(const BootEntry& entry);
    /// Runs one piece of work; a call that does not reach the engine is a failure of that piece.
    template <class Work>
    void Try(const std::string& what, Work&& work);

    [[nodiscard]] std::vector<std::string> Remains(const BootEntry& entry, std::int32_t threat);
    [[nodiscard]] bool IsToBeDestroyed(std::string_view threat) const;
    void Remove(std::string_view key, const BootEntry& entry);

    Engine& engine_;
    WorkLog& log_;
    Entries destroy_;
    std::vector<std::string> left_;  ///< threats that are still on the disk
    bool unreadable_ = false;
    bool partly_ = false;
};

std::optional<Entries> Start::Read(std::string_view name, std::string_view key) {
    auto entries = ReadEntries(key);
    if (!entries) {
        unreadable_ = true;
        log_.Fail("The list " + std::string(name) + " can't be read: " + Numbered(entries.Error()));
        return std::nullopt;
    }
    return *std::move(entries);
}

template <class Work>
void Start::Try(const std::string& what, Work&& work) {
    try {
        std::forward<Work>(work)();
    } catch (const EngineFailure& failure) {
        partly_ = true;
        log_.Fail(what + ": " + failure.what());
    }
}

void Start::OpenEngine(std::string userData, bool isChosen) {
    const std::string chosen = isChosen ? std::string() : engine_.UserDataFolder();
    if (chosen.empty()) {
        engine_.SetUserDataFolder(userData);
    } else {
        userData = WithBackslash(chosen);
        log_.MoveTo(userData);
    }
}

void Start::WorkList(const List& list, const Entries& entries) {
    const std::string name(list.name);
    std::vector<bool> before;
    std::transform(entries.begin(), entries.end(), std::back_inserter(before),
                   [&](const BootEntry& entry) { return list.isThere != nullptr && list.isThere(entry.name); });
    Try(name, [&] {
        (engine_.*list.run)();
        for (std::size_t index = 0; index < entries.size(); ++index) {
            const BootEntry& entry = entries[index];
            if (list.isThere == nullptr) {
                log_.Say(name + ": " + entry.name + " [" + entry.data + "]: worked");
            } else if (!before[index]) {
                log_.Say(name + ": " + entry.name + ": was not there");
            } else if (!list.isThere(entry.name)) {
                log_.Say(name + ": " + entry.name + ": deleted");
            } else {
                partly_ = true;
                log_.Fail(name + ": " + entry.name + " is still there");
            }
        }
        if (modRegistry::RegKeyExists(platform::HiveCurrentUser, list.key)) {
            partly_ = true;
            log_.Fail("The list " + name + " is still there");
        }
    });
}

std::vector<std::string> Start::Remains(const BootEntry& entry, std::int32_t threat) {
    std::vector<std::string> paths;
    if (!entry.data.empty()) {
        paths = engine_.DetectedPaths(entry.data, threat);
    }
    paths.erase(std::remove_if(paths.begin(), paths.end(), [](const auto& path) { return !IsFileThere(path); }),
                paths.end());
    return paths;
}

bool Start::IsToBeDestroyed(std::string_view threat) const {
    return std::any_of(destroy_.begin(), destroy_.end(),
                       [threat](const BootEntry& entry) { return entry.name == threat; });
}

void Start::Remove(std::string_view key, const BootEntry& entry) {
    const platform::SysError error = RemoveEntry(key, entry.name);
    if (error != platform::SysError::Success && error != platform::SysError::FileNotFound) {
        partly_ = true;
        log_.Fail("The entry of threat " + entry.name + " can't be removed: " + Numbered(error));
    }
}

void Start::WorkThreat(const BootEntry& entry) {
    const std::string what = "Threat " + entry.name + " of scan " + entry.data;
    const std::optional<std::int32_t> threat = ThreatNumber(entry.name);
    if (!threat) {
        partly_ = true;
        log_.Fail("\"" + entry.name + "\" of the list " + std::string(ThreatsName) + " is no threat's number");
        return;
    }
    left_.push_back(entry.name);
    Try(what, [&] {
        std::vector<std::string> remains = Remains(entry, *threat);
        if (!remains.empty()) {
            log_.Say(what + ": " + remains.front() + " is there: removing it again");
            engine_.InitializeClean(entry.data);
            if (IsToBeDestroyed(entry.name)) {
                engine_.DestroyThreat(*threat);
            } else if (const std::int32_t result = engine_.QuarantineThreat(*threat); result != 0) {
                log_.Say(what + ": the engine answered " + Text(result));
            }
            engine_.PersistHistory();
            engine_.UninitializeClean();
            remains = Remains(entry, *threat);
        }
        if (!remains.empty()) {
            partly_ = true;
            log_.Fail(what + ": " + remains.front() + " can't be removed");
            return;
        }
        left_.pop_back();
        log_.Say(what + ": nothing is left of it");
        Remove(boot::Threats, entry);
    });
}

void Start::WorkDestruction(const BootEntry& entry) {
    const std::string what = "Destroying threat " + entry.name + " of scan " + entry.data;
    const std::optional<std::int32_t> threat = ThreatNumber(entry.name);
    if (!threat) {
        partly_ = true;
        log_.Fail("\"" + entry.name + "\" of the list " + std::string(DestroyName) + " is no threat's number");
        return;
    }
    if (std::find(left_.begin(), left_.end(), entry.name) != left_.end()) {
        partly_ = true;
        log_.Fail(what + ": it is still on the disk");
        return;
    }
    Try(what, [&] {
        engine_.InitializeClean(entry.data);
        const std::string record = engine_.QuarantineID(*threat);
        if (record.empty()) {
            log_.Say(what + ": the quarantine has nothing of it");
        } else if (engine_.DestroyQuarantined(record)) {
            log_.Say(what + ": " + record + " is destroyed");
        } else if (engine_.IsQuarantined(record)) {
            partly_ = true;
            log_.Fail(what + ": " + record + " can't be destroyed");
            engine_.UninitializeClean();
            return;
        } else {
            // Nothing could find the folder at another start, since its record went.
            partly_ = true;
            log_.Fail(what + ": the folder of " + record + " can't be removed");
        }
        if (!entry.data.empty()) {
            engine_.AddDeletedThreat(entry.data, *threat);
        }
        engine_.UninitializeClean();
        Remove(boot::Destroy, entry);
    });
}

StartEnd Start::Run(std::string userData, bool isChosen) {
    std::vector<std::pair<const List*, Entries>> lists;
    for (const List& list : Lists) {
        if (auto entries = Read(list.name, list.key); entries && !entries->empty()) {
            lists.emplace_back(&list, *std::move(entries));
        }
    }
    const Entries threats = Read(ThreatsName, boot::Threats).value_or(Entries());
    destroy_ = Read(DestroyName, boot::Destroy).value_or(Entries());
    if (lists.empty() && threats.empty() && destroy_.empty()) {
        log_.Say("Nothing is left to this start");
        return unreadable_ ? StartEnd::UnreadableLists : StartEnd::Done;
    }
    if (userData.empty() ||
        (!modFiles::FolderExists(userData) && paths::CreateFolderPath(userData) != paths::FolderPathMade)) {
        log_.Fail(userData.empty() ? "The folder of the user's data is not known"
                                   : "The folder of the user's data can't be made: " + userData);
        return StartEnd::NoUserData;
    }
    try {
        engine_.Start();
        OpenEngine(std::move(userData), isChosen);
    } catch (const EngineFailure& failure) {
        log_.Fail("The engine can't be created: " + std::string(failure.what()));
        return StartEnd::NoEngine;
    }
    for (const auto& [list, entries] : lists) {
        WorkList(*list, entries);
    }
    for (const BootEntry& threat : threats) {
        WorkThreat(threat);
    }
    for (const BootEntry& threat : destroy_) {
        WorkDestruction(threat);
    }
    RemoveEmptyKey(boot::Destroy);
    RemoveEmptyKey(boot::Threats);
    if (unreadable_) {
        return StartEnd::UnreadableLists;
    }
    return partly_ ? StartEnd::Partly : StartEnd::Done;
}

}  // namespace

StartEnd WorkAtStart(Engine& engine, std::string userData, bool isChosen, WorkLog& log) {
    log.Say("Started");
    const StartEnd end = Start(engine, log).Run(std::move(userData), isChosen);
    log.Say("Ended with code " + Text(static_cast<std::int32_t>(end)));
    return end;
}

StartEnd RunCleanerProgram(Engine& engine, const std::vector<std::string>& arguments, WorkLog& log) {
    if (arguments.empty()) {
        return WorkAtStart(engine, UserDataFolder(), false, log);
    }
    if (arguments.size() != 2 || !EqualText(arguments[0], "/UserData") || Trim(arguments[1]).empty()) {
        log.Fail("It takes no arguments but /UserData and a folder");
        return StartEnd::BadArguments;
    }
    const std::string folder = WithBackslash(Trim(arguments[1]));
    log.MoveTo(folder);
    return WorkAtStart(engine, folder, true, log);
}

}  // namespace kel::companions
