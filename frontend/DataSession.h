// An engine over its data folders alone, for commands that look at no machine.
#pragma once

#include <string>
#include <vector>

#include "core/EngineState.h"
#include "engine/Manager.h"
#include "frontend/Machine.h"
#include "frontend/RecordOptions.h"
#include "frontend/SwallowedWrites.h"
#include "platform/Platform.h"

namespace kel::frontend {

/// From its construction on there is an engine of its own, which ends with the session. Each command loads what it
/// asks for: the signatures of a large catalogue take longer than most questions.
class DataSession {
public:
    /// Opens the user data folder, and the data folder if one is named. Nothing is loaded, nothing is made.
    /// Throws MachineError for folders that are not there, and for a data folder without threats.
    explicit DataSession(const RecordOptions& options);
    DataSession(const DataSession&) = delete;
    DataSession& operator=(const DataSession&) = delete;

    // Failures go to the log and to those who observe it.

    /// The catalogue of threats, without signatures.
    void LoadThreats();
    /// The tables of the history.
    void LoadHistory();
    /// Everything, as before a scan, with the user's ignore list. Throws MachineError when that can't be read.
    void LoadAll();

    /// What a dry run would have written since the last call. Of any other session, nothing.
    [[nodiscard]] std::vector<WriteRecord> TakeWrites() { return writes_.Take(); }
    [[nodiscard]] bool HasData() const { return hasData_; }
    [[nodiscard]] kel::Manager& Manager() { return manager_; }

private:
    Machine machine_;
    std::string hostUserData_;
    std::string userData_;
    bool hasData_;
    SwallowedWrites writes_;
    platform::Platform platform_;
    platform::PlatformScope installed_;
    EngineScope engine_;
    kel::Manager manager_;
};

}  // namespace kel::frontend
