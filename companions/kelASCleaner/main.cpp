// Finishes at the start of the machine what a clean could not do: kelASCleaner [/UserData FOLDER]
#include <string>
#include <vector>

#include "companions/Names.h"
#include "companions/StartWork.h"
#include "companions/WorkLog.h"
#include "core/EngineState.h"
#include "latebound/AutomationEngine.h"
#include "platform/Platform.h"
#include "windows/WindowsPlatform.h"

int main(int argc, char** argv) {
    kel::windows::WindowsPlatform machine;
    const kel::platform::PlatformScope installed(machine.View());
    const kel::EngineScope scope;
    const kel::latebound::Apartment apartment;
    kel::companions::WorkLog log(kel::companions::CleanerProgram, kel::companions::LogFolder(argc > 0 ? argv[0] : ""));
    kel::latebound::AutomationEngine engine;
    return static_cast<int>(kel::companions::RunCleanerProgram(
        engine, std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc), log));
}
