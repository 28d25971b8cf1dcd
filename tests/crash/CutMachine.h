// A machine with everything that a clean takes away, and the work on it that a test cuts short.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "DiskFixture.h"
#include "platform/Platform.h"

namespace kel::test {

enum class Shape { WindowsDisk, WinePrefix };

/// Names of what the machine holds, with its state: a file's bytes, a value's type and data, or "absent".
using States = std::map<std::string, std::string>;
inline constexpr std::string_view Absent = "absent";

/// Each test has a machine with an earlier threat in its quarantine and another one that waits to be cleaned.
class CutMachine : public DiskFixture, public testing::WithParamInterface<Shape> {
protected:
    static constexpr std::int32_t Threat = 7;
    static constexpr std::int32_t EarlierThreat = 6;
    static constexpr std::string_view EarlierItem = "earlier";  ///< begins the names of what the earlier threat had

    CutMachine();
    ~CutMachine() override;

    /// What a process does to the machine, with an engine that is begun for a clean.
    using Work = std::function<void()>;
    static void Clean(std::int32_t threat);
    static void Restore(std::int32_t threat);
    static void Destroy(std::int32_t threat);
    /// Takes everything out of the quarantine that is on record.
    static void RestoreAll();

    /// Puts the machine and the user's data back to what was kept.
    void Reset();
    /// What is there now is what Reset() brings from now on.
    void Keep();
    /// Does the work in an engine of this process.
    void Do(const Work& work) const;
    /// Does it in another process, which is gone at that step. Whether it came to its end before.
    [[nodiscard]] bool DoUntil(std::uint64_t step, const Work& work) const;
    [[nodiscard]] States Now() const;

    /// How far the save of the stores has come since Keep().
    enum class Saved { NotBegun, Partly, Whole };
    [[nodiscard]] Saved Stores() const;
    /// Whether a file below the quarantine's folder begins with the bytes.
    [[nodiscard]] bool QuarantineHolds(const std::string& bytes) const;

private:
    void MakeWinePrefix() const;
    void Plant();

    std::filesystem::path work_;
};

}  // namespace kel::test
