// The places where the browser and the shell load extensions by their class.
#include <string>

#include "cleaner/BootLists.h"
#include "cleaner/CutLinks.h"
#include "cleaner/Unhooking.h"
#include "core/Failures.h"
#include "core/Text.h"
#include "core/Value.h"
#include "rules/modCleanerHelper.h"
#include "system/modHelper.h"
#include "system/modRegistry.h"

namespace kel::modCleanerHelper {

namespace {

using platform::HiveClassesRoot;
using platform::HiveCurrentUser;
using platform::HiveLocalMachine;

// A class in braces is longer.
constexpr std::size_t ShortestClass = 21;
constexpr std::string_view FilterClass = "CLSID";

// How a place names the class, and what is cut there.
enum class Kind {
    Filter,       ///< a subkey whose value CLSID is the class: the subkey
    FilterValue,  ///< the same: the value alone
    Key,          ///< a subkey of that name: the subkey
    Value,        ///< a value of that name
    Loaded,       ///< a value whose data are any class of the file
};

struct Place {
    Kind kind;
    platform::Hive hive;
    std::string_view key;
    std::string_view log;
    bool boot = true;  ///< a running threat writes it back: it goes again at the next start
};

// In the order of the work. The second place with filter values is empty where the first one took its keys.
constexpr Place Places[] = {
    {Kind::Filter, HiveClassesRoot, R"(PROTOCOLS\Filter)", R"(Removing HKEY_CLASSES_ROOT PROTOCOLS\Filter )", false},
    {Kind::Filter, HiveLocalMachine, R"(SOFTWARE\Classes\PROTOCOLS\Filter)",
     R"(Removing HKEY_LOCAL_MACHINE PROTOCOLS\Filter )"},
    {Kind::Key, HiveLocalMachine, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\Explorer\Browser Helper Objects)",
     "Removing BHO "},
    {Kind::Key, HiveLocalMachine, R"(SOFTWARE\Microsoft\Internet Explorer\Extensions)", "Removing IE Extension "},
    {Kind::Key, HiveCurrentUser, R"(SOFTWARE\Microsoft\Internet Explorer\Extensions)", "Removing IE Extension "},
    {Kind::Value, HiveLocalMachine, R"(SOFTWARE\Microsoft\Internet Explorer\Toolbar)", "Removing IE Toolbar "},
    {Kind::Key, HiveLocalMachine, R"(Software\Microsoft\Internet Explorer\Explorer Bars)", "Removing IE Explorer Bar "},
    {Kind::Value, HiveCurrentUser, R"(Software\Microsoft\Internet Explorer\Toolbar\ShellBrowser)",
     "Removing IE ShellBrowser "},
    {Kind::Value, HiveCurrentUser, R"(Software\Microsoft\Internet Explorer\Toolbar\WebBrowser)",
     "Removing IE WebBrowser "},
    {Kind::Value, HiveCurrentUser, R"(Software\Microsoft\Internet Explorer\URLSearchHooks)",
     "Removing IE URLSearchHook "},
    {Kind::Key, HiveLocalMachine, R"(SOFTWARE\Microsoft\Code Store Database\Distribution Units)",
     "Removing IE ActiveX "},
    {Kind::Value, HiveLocalMachine, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\Explorer\ShellExecuteHooks)",
     "Removing IE ShellExecuteHook "},
    {Kind::FilterValue, HiveLocalMachine, R"(SOFTWARE\Classes\PROTOCOLS\Filter)", "Removing Protocol filer "},
    {Kind::Loaded, HiveLocalMachine, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\ShellServiceObjectDelayLoad)",
     "Removing Protocol ShellServiceObjectDelayLoad "},
};

std::string SubKey(std::string_view key, std::string_view name) {
    return std::string(key).append("\\").append(name);
}

class Unhooking {
public:
    Unhooking(std::string_view path, QuarantineLocations<QThreatLocationRegKey>& cut) : path_(path), cut_(cut) {}

    void Cut(const std::string& clsid, const Place& place) {
        switch (place.kind) {
            case Kind::Filter:
            case Kind::FilterValue:
                CutFilters(clsid, place);
                return;
            case Kind::Key:
                CutKey(clsid, place);
                return;
            case Kind::Value:
                CutNamed(clsid, place);
                return;
            case Kind::Loaded:
                CutLoaded(clsid, place);
                return;
        }
    }

private:
    void CutFilters(const std::string& clsid, const Place& place) {
        const auto names = modRegistry::RegistrySubKeys(place.hive, place.key);
        if (!names) {
            return;
        }
        for (const std::string& name : *names) {
            const std::string key = SubKey(place.key, name);
            if (!EqualText(ToText(modRegistry::GetRegistryValue(place.hive, key, FilterClass)), clsid)) {
                continue;
            }
            if (place.kind == Kind::Filter) {
                Log(place, name + " (" + clsid + ")");
                TakeKey(place.hive, key);
            } else {
                Log(place, name + clsid);
                TakeValue(place.hive, key, FilterClass);
            }
            if (place.boot) {
                AddCleanerRegValue(place.hive, key, FilterClass);
            }
        }
    }

    void CutKey(const std::string& clsid, const Place& place) {
        const std::string key = SubKey(place.key, clsid);
        if (modRegistry::RegKeyExists(place.hive, key)) {
            Log(place, clsid);
            TakeKey(place.hive, key);
            AddCleanerRegKey(place.hive, key);
        }
    }

    void CutNamed(const std::string& clsid, const Place& place) {
        if (modRegistry::RegValueExists(place.hive, place.key, clsid)) {
            Log(place, clsid);
            CutValue(place, clsid);
        }
    }

    void CutLoaded(const std::string& clsid, const Place& place) {
        for (const std::string& item : modRegistry::RegistryValuesList(place.hive, place.key)) {
            const std::string data = modHelper::StringAfterColon(item);
            if (data.size() >= ShortestClass && modHelper::GuidFromText(data) == data &&
                EqualText(modRegistry::GetFilePathFromCLSID(data), path_)) {
                Log(place, clsid);
                CutValue(place, modHelper::StringBeforeColon(item));
            }
        }
    }

    void Log(const Place& place, const std::string& what) const {
        CleanerLog(std::string(place.log).append(what).append(" for file ").append(path_));
    }

    void TakeKey(platform::Hive hive, const std::string& key) {
        for (const links::KeyRecord& record : CreateQuarantineRegKeySet(hive, key, false)) {
            cut_.Add(record);
        }
    }

    links::KeyRecord TakeValue(platform::Hive hive, std::string_view key, std::string_view name) {
        links::KeyRecord record = links::RecordOf(hive, key, name);
        cut_.Add(record);
        modRegistry::DeleteRegistryValue(hive, key, name);
        return record;
    }

    void CutValue(const Place& place, std::string_view name) {
        CleanerLog("Remove registry value " + links::ValueText(*TakeValue(place.hive, place.key, name)));
        AddCleanerRegValue(place.hive, place.key, name);
    }

    std::string_view path_;
    QuarantineLocations<QThreatLocationRegKey>& cut_;
};

}  // namespace

QuarantineLocations<QThreatLocationRegKey> QuarantineCLSIDMods(std::string_view path) {
    QuarantineLocations<QThreatLocationRegKey> cut;
    Trap("modCleanerHelper", "QuarantineCLSIDMods", [&] {
        Unhooking unhooking(path, cut);
        for (const std::string& clsid : modRegistry::GetDllCLSIDs(path)) {
            if (clsid.size() < ShortestClass) {
                continue;
            }
            for (const Place& place : Places) {
                unhooking.Cut(clsid, place);
            }
        }
    });
    return cut;
}

}  // namespace kel::modCleanerHelper
