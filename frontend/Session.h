// A machine and an engine that works on it, as every command of the program needs them.
#pragma once

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "core/EngineState.h"
#include "engine/Manager.h"
#include "frontend/Machine.h"
#include "frontend/Output.h"
#include "frontend/ReadWatch.h"
#include "frontend/SessionOptions.h"
#include "frontend/Sink.h"
#include "frontend/SwallowedWrites.h"
#include "platform/Platform.h"

namespace kel::frontend {

/// From its construction on the machine is the one that the engine sees, and there is an engine of its own, which ends
/// with the session. One session at a time.
class Session {
public:
    /// Opens the machine and the folders; notes on the machine's registry go to `err`. Nothing is loaded. Options
    /// without a data folder are a session without a catalogue.
    /// Throws MachineError, for a data folder without threats too.
    Session(const SessionOptions& options, std::FILE* err);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Loads the engine's data and the user's, with the user's ignore list. Failures go to the log and to those who
    /// observe it. Throws MachineError when the ignore list can't be read.
    void Load();
    /// Gives the engine the user's ignore list again: belongs behind whatever may have loaded the data anew. Throws
    /// MachineError when the list can't be read.
    void GiveIgnoreList();

    /// The cleaner, with the user's root of the quarantine and a log. InitializeClean is still to come. Behind Load.
    [[nodiscard]] std::shared_ptr<Cleaner> OpenCleaner();
    /// The engine's path of the folder that --quarantine-root named, with a trailing backslash; empty without one.
    [[nodiscard]] const std::string& QuarantineRoot() const { return quarantineRoot_; }

    /// Called for each file and folder that can't be read, from now on; empty: nobody.
    void OnUnreadable(ReadWatch::Report report) { unreadable_ = std::move(report); }

    /// Whether everything that would be written is told and not done.
    [[nodiscard]] bool IsDryRun() const { return dryRun_; }
    /// What a dry run would have written since the last call. Of any other session, nothing.
    [[nodiscard]] std::vector<WriteRecord> TakeWrites() { return writes_.Take(); }
    /// Tells the sink these.
    void TellWrites(Sink& sink);

    [[nodiscard]] Machine& TheMachine() { return machine_; }
    [[nodiscard]] kel::Manager& Manager() { return manager_; }
    [[nodiscard]] const platform::Platform& View() const { return platform_; }
    /// The engine's paths of the two folders, with a trailing backslash.
    [[nodiscard]] const std::string& Data() const { return data_; }
    [[nodiscard]] const std::string& UserData() const { return userData_; }

private:
    Machine machine_;
    std::string data_;
    std::string hostUserData_;
    std::string userData_;
    std::string quarantineRoot_;
    bool dryRun_;
    ReadWatch::Report unreadable_;
    SwallowedWrites writes_;
    platform::Platform inner_;
    ReadWatch files_;
    platform::Platform platform_;
    platform::PlatformScope installed_;
    EngineScope engine_;
    kel::Manager manager_;
};

/// Opens a session and works in it; gives what `work` gives. A MachineError, thrown before or in it, is told on the
/// stream for errors and gives ExitNoInput.
/// @param command its name, for messages
int InSession(const SessionOptions& options, const char* command, const Streams& streams,
              const std::function<int(Session& session)>& work);

}  // namespace kel::frontend
