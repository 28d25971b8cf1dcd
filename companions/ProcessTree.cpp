#include "companions/ProcessTree.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "core/Text.h"
#include "platform/Platform.h"

namespace kel::companions {

namespace {

using platform::Process;
using platform::ProcessEntry;
using platform::SysError;

constexpr std::uint32_t QueryAndEnd = 1025;
constexpr std::uint32_t ExitCode = 1;
constexpr std::uint32_t StillActive = 259;

// Rounds in which new children are looked for. A process that starts children faster than they are ended stays.
constexpr int MostRounds = 10;

// Numbers and names of the system's own processes.
constexpr std::uint32_t SystemNumbers[] = {0, 4};
constexpr std::string_view SystemNames[] = {"[system process]", "system idle process", "system", "kernel32.dll"};

bool IsSystem(const ProcessEntry& entry) {
    const std::string path = LCase(entry.exeFile);
    const std::string name = path.substr(path.rfind('\\') + 1);
    return std::find(std::begin(SystemNumbers), std::end(SystemNumbers), entry.id) != std::end(SystemNumbers) ||
           std::find(std::begin(SystemNames), std::end(SystemNames), name) != std::end(SystemNames);
}

std::string Described(const ProcessEntry& entry) {
    return Text(static_cast<std::int64_t>(entry.id)) + " (" + entry.exeFile + ")";
}

std::string Numbered(SysError error) {
    return "error " + Text(static_cast<std::int64_t>(platform::Number(error)));
}

// A process of the tree. The open handle keeps its number from being given to another.
struct Member {
    ProcessEntry entry;
    std::size_t depth = 0;
    std::unique_ptr<Process> process;
    platform::Result<std::uint64_t> started = SysError::CallNotImplemented;
    bool settled = false;  ///< ended, or could not be

    [[nodiscard]] bool HasEnded() const { return process->ExitCode().ValueOr(StillActive) != StillActive; }
};

class Tree {
public:
    explicit Tree(WorkLog& log) : log_(log) {}

    TreeEnd End(std::uint32_t processId);

private:
    // Opens what the list shows below the members so far. False when there is no list.
    bool Find(std::uint32_t processId);
    // Those of the opened ones become members that a second list, in which no number can have changed its process,
    // shows below their parents; or that have ended since. False when there is no list.
    bool Confirm();
    void EndMembers();

    void Open(const ProcessEntry& entry, std::size_t depth);
    [[nodiscard]] Member* Known(std::uint32_t processId);
    [[nodiscard]] bool IsPassedOver(std::uint32_t processId) const;
    [[nodiscard]] static bool IsOlder(const Member& child, const Member& parent);

    WorkLog& log_;
    platform::Processes& processes_ = *platform::Current().processes;
    std::vector<std::unique_ptr<Member>> members_;  ///< parents before their children
    std::vector<std::unique_ptr<Member>> opened_;   ///< not confirmed yet
    std::vector<std::uint32_t> passedOver_;         ///< no children, or not to be opened
    bool partly_ = false;
    bool missing_ = false;
    bool isSystem_ = false;
};

Member* Tree::Known(std::uint32_t processId) {
    for (const auto* list : {&members_, &opened_}) {
        for (const auto& member : *list) {
            if (member->entry.id == processId) {
                return member.get();
            }
        }
    }
    return nullptr;
}

bool Tree::IsPassedOver(std::uint32_t processId) const {
    return std::find(passedOver_.begin(), passedOver_.end(), processId) != passedOver_.end();
}

bool Tree::IsOlder(const Member& child, const Member& parent) {
    return child.started && parent.started && *child.started < *parent.started;
}

void Tree::Open(const ProcessEntry& entry, std::size_t depth) {
    auto process = processes_.Open(entry.id, QueryAndEnd);
    if (!process) {
        passedOver_.push_back(entry.id);
        // The number of a process that ended in between is no number.
        if (process.Error() != SysError::InvalidParameter) {
            partly_ = true;
            log_.Fail("Process " + Described(entry) + " can't be opened: " + Numbered(process.Error()));
        }
        return;
    }
    auto member = std::make_unique<Member>();
    member->entry = entry;
    member->depth = depth;
    member->process = *std::move(process);
    member->started = member->process->StartTime();
    opened_.push_back(std::move(member));
}

bool Tree::Find(std::uint32_t processId) {
    const auto list = processes_.Snapshot();
    if (!list) {
        return false;
    }
    opened_.clear();
    if (members_.empty()) {
        const auto root =
            std::find_if(list->begin(), list->end(), [&](const ProcessEntry& entry) { return entry.id == processId; });
        missing_ = root == list->end();
        isSystem_ = !missing_ && IsSystem(*root);
        if (missing_ || isSystem_) {
            return true;
        }
        Open(*root, 0);
    }
    for (bool more = true; more;) {
        more = false;
        for (const ProcessEntry& entry : *list) {
            const Member* parent = entry.id == entry.parentId || IsSystem(entry) ? nullptr : Known(entry.parentId);
            if (parent != nullptr && Known(entry.id) == nullptr && !IsPassedOver(entry.id)) {
                Open(entry, parent->depth + 1);
                more = true;
            }
        }
    }
    return true;
}

bool Tree::Confirm() {
    const auto list = processes_.Snapshot();
    if (!list) {
        return false;
    }
    auto candidates = std::move(opened_);
    opened_.clear();
    for (auto& candidate : candidates) {
        const bool listed = std::any_of(list->begin(), list->end(), [&](const ProcessEntry& each) {
            return each.id == candidate->entry.id && each.parentId == candidate->entry.parentId;
        });
        const Member* parent = candidate->depth == 0 ? nullptr : Known(candidate->entry.parentId);
        const bool belongs = candidate->depth == 0 || (parent != nullptr && !IsOlder(*candidate, *parent));
        if (belongs && (listed || candidate->HasEnded())) {
            members_.push_back(std::move(candidate));
        } else {
            passedOver_.push_back(candidate->entry.id);
        }
    }
    return true;
}

void Tree::EndMembers() {
    std::vector<Member*> order;
    for (const auto& member : members_) {
        if (!member->settled) {
            order.push_back(member.get());
        }
    }
    std::stable_sort(order.begin(), order.end(), [](auto* left, auto* right) { return left->depth > right->depth; });
    for (Member* member : order) {
        member->settled = true;
        const SysError error = member->process->End(ExitCode);
        if (error == SysError::Success) {
            log_.Say("Ended process " + Described(member->entry));
        } else if (member->HasEnded()) {
            log_.Say("Process " + Described(member->entry) + " had ended");
        } else {
            partly_ = true;
            log_.Fail("Process " + Described(member->entry) + " can't be ended: " + Numbered(error));
        }
    }
}

TreeEnd Tree::End(std::uint32_t processId) {
    const std::string number = Text(static_cast<std::int64_t>(processId));
    for (int round = 0; round < MostRounds; ++round) {
        const std::size_t before = members_.size();
        if (!Find(processId) || (!opened_.empty() && !Confirm())) {
            log_.Fail("The processes can't be listed");
            return round == 0 ? TreeEnd::NoListOfProcesses : TreeEnd::Partly;
        }
        if (missing_) {
            log_.Fail("There is no process " + number);
            return TreeEnd::NoSuchProcess;
        }
        if (isSystem_) {
            log_.Fail("Process " + number + " is the system's own");
            return TreeEnd::Refused;
        }
        if (Known(processes_.CurrentId()) != nullptr) {
            log_.Fail("Process " + number + " started this program, or is it");
            return TreeEnd::Refused;
        }
        if (members_.size() == before) {
            return partly_ || members_.empty() ? TreeEnd::Partly : TreeEnd::Done;
        }
        EndMembers();
    }
    log_.Fail("Process " + number + " and what it started go on starting others");
    return TreeEnd::Partly;
}

}  // namespace

std::optional<std::uint32_t> ProcessNumber(std::string_view text) {
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return number;
}

TreeEnd EndProcessTree(std::uint32_t processId, WorkLog& log) {
    if (IsSystem({processId, 0, {}})) {
        log.Fail("Process " + Text(static_cast<std::int64_t>(processId)) + " is the system's own");
        return TreeEnd::Refused;
    }
    return Tree(log).End(processId);
}

TreeEnd RunTreeProgram(const std::vector<std::string>& arguments, WorkLog& log) {
    if (arguments.size() != 1) {
        log.Fail("Called with " + Text(static_cast<std::int64_t>(arguments.size())) +
                 " arguments in place of one process number");
        return TreeEnd::NoNumber;
    }
    const std::optional<std::uint32_t> number = ProcessNumber(arguments.front());
    if (!number) {
        log.Fail("\"" + arguments.front() + "\" is no process number: nothing is ended");
        return TreeEnd::NoNumber;
    }
    return EndProcessTree(*number, log);
}

}  // namespace kel::companions
