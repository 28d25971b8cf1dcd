#include "hive/LogReplay.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "hive/BaseBlock.h"
#include "hive/Bytes.h"
#include "hive/LogNew.h"
#include "hive/LogOld.h"

namespace kel::offline::regf {
namespace {

/// Sequence numbers wrap; `a` comes before `b`.
bool Before(std::uint32_t a, std::uint32_t b) noexcept {
    return static_cast<std::int32_t>(a - b) < 0;
}

std::string Describe(const LogFile& log, const NewLogOutcome& outcome) {
    std::string note = log.path + ": " + std::to_string(outcome.applied) + " entries applied";
    if (outcome.skipped != 0)
        note += ", " + std::to_string(outcome.skipped) + " older than the hive";
    if (outcome.stoppedByDamage)
        note += ", stopped at an entry that is torn or does not follow";
    return note;
}

class Replay {
public:
    Replay(HiveImage& image, std::span<const LogFile> logs) : image_(image), logs_(logs) {}

    ReplayOutcome Run() {
        headerLost_ = image_.Size() < PageSize || !HasHiveSignature(image_.Bytes());
        if (!headerLost_)
            fields_ = ParseBaseBlock(image_.Data());
        headerLost_ = headerLost_ || !fields_.checksumOk;
        outcome_.dirty = headerLost_ || fields_.Dirty();
        if (!outcome_.dirty)
            return outcome_;
        ApplyNewLogs();
        if (!outcome_.replayed)
            ApplyOldLogs();
        if (outcome_.replayed) {
            fields_.type = FileType::Primary;
            StoreBaseBlock(image_.Data(), fields_);
        }
        return outcome_;
    }

private:
    void ApplyNewLogs() {
        std::vector<const LogFile*> logs;
        for (const LogFile& log : logs_)
            if (IsNewLog(log.bytes))
                logs.push_back(&log);
        if (logs.empty())
            return;
        std::stable_sort(logs.begin(), logs.end(), [](const LogFile* a, const LogFile* b) {
            return Before(ParseBaseBlock(a->bytes.data()).sequence1, ParseBaseBlock(b->bytes.data()).sequence1);
        });
        // Without a header of its own the hive is of the age of the last log that was begun.
        if (headerLost_ && !TakeHeader(*logs.back()))
            return;
        std::uint32_t next = fields_.sequence2;
        for (const LogFile* log : logs) {
            const NewLogOutcome outcome = ApplyNewLog(log->bytes, image_, fields_, next);
            outcome_.notes.push_back(Describe(*log, outcome));
            outcome_.replayed = outcome_.replayed || outcome.applied != 0;
        }
        fields_.sequence1 = fields_.sequence2 = next;
    }

    void ApplyOldLogs() {
        const LogFile* best = nullptr;
        for (const LogFile& log : logs_) {
            if (IsNewLog(log.bytes))
                continue;
            if (!IsOldLog(log.bytes)) {
                if (!log.bytes.empty())
                    outcome_.notes.push_back(log.path + ": not a log that was finished");
                continue;
            }
            const BaseBlock header = ParseBaseBlock(log.bytes.data());
            if (!headerLost_ && header.written != fields_.written) {
                outcome_.notes.push_back(log.path + ": belongs to another state of the hive");
                continue;
            }
            if (best == nullptr || Before(ParseBaseBlock(best->bytes.data()).sequence1, header.sequence1))
                best = &log;
        }
        if (best == nullptr || (headerLost_ && !TakeHeader(*best)))
            return;
        outcome_.replayed = ApplyOldLog(best->bytes, image_, fields_);
        outcome_.notes.push_back(best->path + (outcome_.replayed ? ": applied" : ": torn, not applied"));
    }

    /// Puts the log's copy of the base block over the lost one.
    bool TakeHeader(const LogFile& log) {
        if (image_.Size() < PageSize && !image_.Resize(PageSize))
            return false;
        std::memcpy(image_.Data(), log.bytes.data(), SectorSize);
        fields_ = ParseBaseBlock(image_.Data());
        fields_.type = FileType::Primary;
        StoreBaseBlock(image_.Data(), fields_);
        outcome_.notes.push_back(log.path + ": header of the hive taken from it");
        outcome_.replayed = true;
        return true;
    }

    HiveImage& image_;
    std::span<const LogFile> logs_;
    BaseBlock fields_;
    bool headerLost_ = false;
    ReplayOutcome outcome_;
};

}  // namespace

ReplayOutcome ReplayLogs(HiveImage& image, std::span<const LogFile> logs) {
    return Replay(image, logs).Run();
}

}  // namespace kel::offline::regf
