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

}  // namespace

Session::Session(const SessionOptions& options, std::FILE* err)
    : machine_(options),
      data_(machine_.HostFolder(options.data)),
      hostUserData_(options.userData),
      userData_(machine_.MakeHostFolder(options.userData)),
      inner_(machine_.View()),
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
    State().App.Path = data_.substr(0, data_.size() - 1);
    State().UserDataRootPath = userData_;
    if (!platform_.files->PathExists(data_ + "kelThreatData.sdb")) {
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
