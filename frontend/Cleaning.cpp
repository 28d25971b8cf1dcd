#include "frontend/Cleaning.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>
#include <utility>

#include "cleaner/BootLists.h"
#include "frontend/Interrupt.h"
#include "platform/Platform.h"
#include "quarantine/Quarantine.h"
#include "quarantine/QuarantineTables.h"
#include "results/ScanHistory.h"
#include "system/modFiles.h"

namespace kel::frontend {

namespace {

// A failure under one of these names ended the operation where it stood.
struct Operation {
    std::string_view module;
    std::string_view procedure;
};
constexpr std::array Operations{
    Operation{"Cleaner", "InitializeClean"},
    Operation{"Cleaner", "QuarantineThreat"},
    Operation{"Cleaner", "DestroyThreat"},
    Operation{"Quarantine", "DestoryThreat"},
};

struct Capability {
    bool platform::Capabilities::*member;
    const char* name;
};
constexpr std::array Capabilities{
    Capability{&platform::Capabilities::processes, "end of processes"},
    Capability{&platform::Capabilities::services, "stop of services"},
    Capability{&platform::Capabilities::components, "unregistration of components"},
    Capability{&platform::Capabilities::network, "scripts from the network"},
    Capability{&platform::Capabilities::live, "next start"},
};

bool EndedOperation(const FailureRecord& failure) {
    constexpr std::string_view informational = "0";
    return failure.number != informational &&
           std::any_of(Operations.begin(), Operations.end(), [&](const Operation& operation) {
               return failure.module == operation.module && failure.procedure == operation.procedure;
           });
}

// The cleaner does not tell when its tables can't be written.
bool StoresAreOnDisk() {
    return std::all_of(std::begin(quarantine::Tables), std::end(quarantine::Tables),
                       [](const quarantine::Table* table) {
                           return platform::Current().files->PathExists(quarantine::PathOf(*table));
                       });
}

CleanItem::Result ResultOf(const CleanTarget& target) {
    if (!target.removable) {
        return CleanItem::Result::Untouched;
    }
    if (target.IsThere()) {
        return CleanItem::Result::Left;
    }
    return target.wasThere ? CleanItem::Result::Removed : CleanItem::Result::Absent;
}

bool Any(const CleanRecord& record, CleanItem::Result result) {
    return std::any_of(record.items.begin(), record.items.end(),
                       [&](const CleanItem& item) { return item.result == result; });
}

std::string Lower(const std::string& text) {
    return platform::Current().text->ToLower(text);
}

// A file that can't move into the quarantine is deleted, and has a record all the same.
void MarkDeleted(CleanRecord& record, const QuarantineThreat& kept) {
    const auto mark = [&](const char* kind, const std::string& original, const std::string& copy) {
        if (platform::Current().files->PathExists(kept.QuarantinePath + copy) ||
            platform::Current().files->PathExists(original)) {
            return;
        }
        const auto known = std::find_if(record.items.begin(), record.items.end(), [&](const CleanItem& item) {
            return item.kind == kind && Lower(item.location) == Lower(original);
        });
        if (known != record.items.end()) {
            known->result = CleanItem::Result::Deleted;
        } else {
            record.items.push_back({kind, original, CleanItem::Result::Deleted});
        }
    };
    if (kept.QThreatLocationFiles) {
        for (const auto& file : *kept.QThreatLocationFiles) {
            mark("file", file->OriginalFilePath, file->QuarantineFileName);
        }
    }
    if (kept.QThreatLocationCookies) {
        for (const auto& cookie : *kept.QThreatLocationCookies) {
            mark("cookie", cookie->OriginalFilePath, cookie->QuarantineFileName);
        }
    }
}

}  // namespace

std::vector<std::string> CleanWorkNotAvailable(const platform::Capabilities& can) {
    std::vector<std::string> names;
    for (const Capability& capability : Capabilities) {
        if (!(can.*capability.member)) {
            names.emplace_back(capability.name);
        }
    }
    return names;
}

Cleaning::Cleaning(Session& session, Sink& sink, ProgressLine& progress, ScanObserver& observer)
    : session_(session), sink_(sink), progress_(progress), observer_(observer) {
    observer_.OnFailure([this](const FailureRecord& failure) {
        if (trapped_.empty() && EndedOperation(failure)) {
            trapped_ = failure.description;
        }
    });
}

Cleaning::~Cleaning() {
    observer_.OnFailure({});
}

bool Cleaning::Begin(const std::string& scanId, const std::shared_ptr<Cleaner::DetectedThreatCollection>& detected) {
    cleaner_ = session_.OpenCleaner();
    trapped_.clear();
    // Without it what goes would be deleted instead of kept.
    const std::string root = quarantine::QuarantineFolderRoot();
    if (!modFiles::FolderExists(root) && modFiles::CreateFolderPath(root) != modFiles::Done) {
        trapped_ = "its folder can't be made: " + root;
        return false;
    }
    cleaner_->InitializeClean(scanId, detected);
    if (!trapped_.empty() || !cleaner_->Callback) {
        return false;
    }
    CleanerEvents events;
    events.FinishedThreatClean = [this](std::string_view) { finished_ = true; };
    events.VerboseDetails = [this](std::string_view threat, std::string_view details) {
        progress_.Say(threat, details);
    };
    cleaner_->Callback->Subscribe(std::move(events));
    return true;
}

std::string Cleaning::NameOfThreat(std::int32_t threat) {
    return session_.Manager().Threats()->GetThreatDisplayName(threat);
}

void Cleaning::Judge(CleanRecord& record, enCleanerErrors error, bool destroys, bool copyLeft) {
    using Result = CleanRecord::Result;
    if (error == errCouldNotLocateThreat) {
        record.result = Result::Failed;
        record.reason = "the catalogue does not have it";
    } else if (!finished_) {
        record.result = Result::Failed;
        record.reason = trapped_.empty() ? "its work did not come to an end" : trapped_;
        if (!session_.View().can.live) {
            record.reason += "; nothing was written to the registry";
        }
    } else if (!trapped_.empty()) {
        record.result = Result::Failed;
        record.reason = trapped_;
    } else if (!StoresAreOnDisk()) {
        record.result = Result::Failed;
        record.reason = "the records of the quarantine could not be written";
    } else if (Any(record, CleanItem::Result::Left)) {
        record.result = Result::Partial;
        record.reason = "not everything could be removed";
    } else if (Any(record, CleanItem::Result::Deleted)) {
        record.result = Result::Partial;
        record.reason = "what could not be moved into the quarantine was deleted";
    } else if (error != errNone) {
        record.result = Result::Partial;
        record.reason = error == errCustomScriptFailedScriptBlank ? "its own script for the removal failed"
                                                                  : "a registry value could not be removed";
    } else if (destroys && copyLeft) {
        record.result = Result::Partial;
        record.reason = "its copy in the quarantine could not be destroyed";
    }
}

CleanRecord Cleaning::NotDone(const CleanOrder& order, CleanRecord::Result result, const std::string& reason) {
    CleanRecord record;
    record.threat = order.threat;
    record.name = NameOfThreat(order.threat);
    record.result = result;
    record.reason = reason;
    for (const CleanTarget& target : order.targets) {
        record.items.push_back({target.kind, target.location, ResultOf(target)});
    }
    return record;
}

CleanSummaryRecord Cleaning::Skip(const std::vector<CleanOrder>& orders, bool destroys, const std::string& reason) {
    CleanSummaryRecord summary;
    summary.destroys = destroys;
    summary.dryRun = session_.IsDryRun();
    for (const CleanOrder& order : orders) {
        Tell(summary, NotDone(order, CleanRecord::Result::Skipped, reason));
    }
    return summary;
}

CleanRecord Cleaning::CleanOne(const CleanOrder& order, bool destroys) {
    CleanRecord record;
    record.threat = order.threat;
    record.name = NameOfThreat(order.threat);
    finished_ = false;
    trapped_.clear();
    const auto quarantine = session_.Manager().Quarantine();
    const std::int32_t before = quarantine->Count();
    const auto error = destroys ? cleaner_->DestroyThreat(order.threat)
                                : cleaner_->QuarantineThreat(order.threat, false, record.quarantine);
    progress_.Clear();
    for (const CleanTarget& target : order.targets) {
        record.items.push_back({target.kind, target.location, ResultOf(target)});
    }
    if (!record.quarantine.empty()) {
        if (const auto kept = quarantine->GetQuarantineThreat(record.quarantine)) {
            MarkDeleted(record, *kept);
        }
    }
    Judge(record, error, destroys, quarantine->Count() > before);
    return record;
}

void Cleaning::Tell(CleanSummaryRecord& summary, const CleanRecord& record) {
    std::int64_t CleanSummaryRecord::*const counts[] = {&CleanSummaryRecord::cleaned, &CleanSummaryRecord::partial,
                                                        &CleanSummaryRecord::failed, &CleanSummaryRecord::notDetected,
                                                        &CleanSummaryRecord::skipped};
    ++(summary.*counts[static_cast<std::size_t>(record.result)]);
    for (const CleanItem& item : record.items) {
        const bool gone = item.result == CleanItem::Result::Removed || item.result == CleanItem::Result::Deleted;
        summary.removed += gone ? 1 : 0;
        summary.left += item.result == CleanItem::Result::Left ? 1 : 0;
    }
    session_.TellWrites(sink_);
    sink_.Cleaned(record);
}

CleanSummaryRecord Cleaning::Clean(const std::string& scanId,
                                   const std::shared_ptr<Cleaner::DetectedThreatCollection>& detected,
                                   const std::vector<CleanOrder>& orders, bool destroys) {
    CleanSummaryRecord summary;
    summary.destroys = destroys;
    summary.dryRun = session_.IsDryRun();
    const std::int64_t errorsBefore = observer_.Errors();
    const bool begun = Begin(scanId, detected);
    const std::string whyNot = trapped_;
    for (const CleanOrder& order : orders) {
        // A threat is the smallest part of the work that is on record.
        summary.interrupted = summary.interrupted || Interrupt::Requested();
        if (begun && !summary.interrupted) {
            Tell(summary, CleanOne(order, destroys));
            continue;
        }
        Tell(summary, begun ? NotDone(order, CleanRecord::Result::Skipped, "interrupted by the user")
                            : NotDone(order, CleanRecord::Result::Failed, "the quarantine can't be opened: " + whyNot));
    }
    if (begun) {
        cleaner_->UninitializeClean();
        session_.Manager().ScanHistory()->Persist();
    }
    summary.nextStart = cleaner_->IsRebootRequired() && session_.View().can.live;
    if (summary.nextStart) {
        boot::NameUserData(session_.UserData());
    }
    session_.TellWrites(sink_);
    summary.errors = observer_.Errors() - errorsBefore;
    return summary;
}

}  // namespace kel::frontend
