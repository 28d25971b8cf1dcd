#include "frontend/DataSession.h"

#include "catalogue/modMain.h"
#include "frontend/IgnoreReplay.h"
#include "results/modDataManager.h"

namespace kel::frontend {

DataSession::DataSession(const RecordOptions& options)
    : machine_(SessionOptions{}),
      hostUserData_(options.userData),
      userData_(machine_.HostFolder(options.userData)),
      hasData_(!options.data.empty()),
      writes_(options.dryRun, options.dryRun),
      platform_(writes_.Over(machine_.View())),
      installed_(platform_) {
    State().App.EXEName = "ombrelane";
    State().UserDataRootPath = userData_;
    State().UserDataFolder = userData_;
    State().UserDataFolderIsSet = true;
    if (!hasData_) {
        return;
    }
    const std::string data = machine_.HostFolder(options.data);
    State().App.Path = data.substr(0, data.size() - 1);
    if (!platform::Current().files->PathExists(data + "kelThreatData.sdb")) {
        throw MachineError("no kelThreatData.sdb in the data folder " + options.data);
    }
}

void DataSession::LoadThreats() {
    modMain::InitializeThreatData();
}

void DataSession::LoadHistory() {
    modDataManager::InitializeScanHistoryData();
}

void DataSession::LoadAll() {
    manager_.Scanner()->SetUserDataRootPath(userData_);
    manager_.Inititalize();
    ReplayIgnoreList(hostUserData_, *manager_.IgnoredThreats());
}

}  // namespace kel::frontend
