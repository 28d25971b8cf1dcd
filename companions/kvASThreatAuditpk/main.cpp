// Ends a process and all that it started: kvASThreatAuditpk PID
#include <string>
#include <vector>

#include "companions/Names.h"
#include "companions/ProcessTree.h"
#include "companions/WorkLog.h"
#include "core/EngineState.h"
#include "platform/Platform.h"
#include "windows/WindowsPlatform.h"

int main(int argc, char** argv) {
    kel::windows::WindowsPlatform machine;
    const kel::platform::PlatformScope installed(machine.View());
    const kel::EngineScope scope;
    kel::companions::WorkLog log(kel::companions::TreeProgram, kel::companions::LogFolder(argc > 0 ? argv[0] : ""));
    return static_cast<int>(
        kel::companions::RunTreeProgram(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc), log));
}
