#include "frontend/SessionOptions.h"

#include <array>

#include "frontend/OptionTable.h"

namespace kel::frontend {

namespace {

using Problem = std::optional<std::string>;

template <std::string SessionOptions::*Member>
Problem SetText(SessionOptions& options, const std::string& value) {
    options.*Member = value;
    return std::nullopt;
}

bool BeginsWithLetter(std::string_view value) {
    return !value.empty() && ((value[0] >= 'A' && value[0] <= 'Z') || (value[0] >= 'a' && value[0] <= 'z'));
}

Problem AddDrive(SessionOptions& options, const std::string& value) {
    if (!BeginsWithLetter(value) || value.size() < 3 || value[1] != '=') {
        return "expected LETTER=DIR, not '" + value + "'";
    }
    options.drives.push_back(value);
    return std::nullopt;
}

Problem DryRun(SessionOptions& options, const std::string& /*value*/) {
    options.dryRun = true;
    return std::nullopt;
}

using Row = OptionRow<SessionOptions>;

constexpr std::array Table{
#ifdef _WIN32
    Row{"--machine", "DIR", false, "not on Windows, where the running machine is worked on",
        SetText<&SessionOptions::machine>},
#else
    Row{"--machine", "DIR", false, "the machine: a Wine prefix, or the root of a Windows disk",
        SetText<&SessionOptions::machine>},
#endif
    Row{"--drive", "LETTER=DIR", true, "a further drive of the machine; it counts as a fixed one", AddDrive},
    Row{"--user", "NAME", false, "whose registry and folders are the current user's", SetText<&SessionOptions::user>},
    Row{"--data", "DIR", false, "the folder of the signature tables (kelThreatData.sdb and its like)",
        SetText<&SessionOptions::data>},
    Row{"--user-data", "DIR", false, "the folder for logs, history, quarantine and ignore list; made if missing",
        SetText<&SessionOptions::userData>},
    Row{"--quarantine-root", "DIR", false,
        "the folder in which the quarantine lies, made if missing; without it the user data folder. The quarantine's "
        "records are always in the latter",
        SetText<&SessionOptions::quarantineRoot>},
    Row{"--dry-run", "", false, "write nothing anywhere, and show each write that would have been made", DryRun},
};

}  // namespace

std::span<const OptionRow<SessionOptions>> SessionOptionTable() {
    return Table;
}

Problem CheckMachineOptions(const SessionOptions& options, [[maybe_unused]] bool needed) {
#ifdef _WIN32
    if (!options.machine.empty() || !options.drives.empty() || !options.user.empty()) {
        return "--machine, --drive and --user belong to a machine that does not run; here the running one is meant";
    }
#else
    if (needed && options.machine.empty() && options.drives.empty()) {
        return "--machine or --drive is required";
    }
#endif
    return std::nullopt;
}

Problem CheckSessionOptions(const SessionOptions& options) {
    if (options.data.empty()) {
        return "--data is required";
    }
    if (options.userData.empty()) {
        return "--user-data is required";
    }
    return CheckMachineOptions(options, true);
}

}  // namespace kel::frontend
