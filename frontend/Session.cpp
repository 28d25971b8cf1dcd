#include "frontend/Session.h"

#include "frontend/ExitCodes.h"
#include "frontend/IgnoreReplay.h"
#include "frontend/ShownText.h"

namespace kel::frontend {

namespace {

platform::Platform WithFiles(platform::Platform platform, platform::Files& files) {
    platform.files = &files;
    return platform;
}

// A folder of the user's. A dry run makes none.
std::string UserFolder(Machine& machine, const SessionOptions& options, const std::string& folder) {
    return options.makesFolders && !options.dryRun ? machine.MakeHostFolder(folder) : machine.HostFolder(folder);
}

}  // namespace

Session::Session(const SessionOptions& options, std::FILE* err)
    : machine_(options),
      data_(options.data.empty() ? std::string() : machine_.HostFolder(options.data)),
      hostUserData_(options.userData),
      userData_(UserFolder(machine_, options, options.userData)),
      quarantineRoot_(options.quarantineRoot.empty() ? std::string()
                                                     : UserFolder(machine_, options, options.quarantineRoot)),
      dryRun_(options.dryRun),
      writes_(options.dryRun || options.swallowsWrites, options.dryRun),
      inner_(writes_.Over(machine_.View())),
      files_(*inner_.files,
             [this](std::string_view path, platform::SysError error) {
                 if (unreadable_) {
                     unreadable_(path, error);
                 }
             }),
      platform_(WithFiles(inner_, files_)),
      installed_(platform_) {
    for (const std::string& note : machine_.Notes()) {
        std::fprintf(err, "ombrelane: note: %s\n", ShownUtf8(note).c_str());
    }
    State().App.EXEName = "ombrelane";
    const std::string& program = data_.empty() ? userData_ : data_;
    State().App.Path = program.substr(0, program.size() - 1);
    State().UserDataRootPath = userData_;
    State().UserDataFolder = userData_;
    if (!data_.empty() && !platform_.files->PathExists(data_ + "kelThreatData.sdb")) {
        throw MachineError("no kelThreatData.sdb in the data folder " + options.data);
    }
}

void Session::Load() {
    manager_.Scanner()->SetUserDataRootPath(userData_);
    manager_.Inititalize();
    GiveIgnoreList();
}

void Session::GiveIgnoreList() {
    ReplayIgnoreList(hostUserData_, *manager_.IgnoredThreats());
}

void Session::TellWrites(Sink& sink) {
    for (const WriteRecord& write : TakeWrites()) {
        sink.Write(write);
    }
}

std::shared_ptr<Cleaner> Session::OpenCleaner() {
    auto cleaner = manager_.Cleaner();
    cleaner->SetQuarantineRootPath(quarantineRoot_);
    cleaner->SetEnableLog(true);
    return cleaner;
}

int InSession(const SessionOptions& options, const char* command, const Streams& streams,
              const std::function<int(Session& session)>& work) {
    try {
        Session session(options, streams.err);
        return work(session);
    } catch (const MachineError& error) {
        std::fprintf(streams.err, "ombrelane %s: %s\n", command, ShownHostText(error.what()).c_str());
        return ExitNoInput;
    }
}

}  // namespace kel::frontend
