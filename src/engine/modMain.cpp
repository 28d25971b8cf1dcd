#include "engine/modMain.h"

#include "cleaner/ScanCleaner.h"
#include "core/EngineState.h"
#include "core/Failures.h"

namespace kel::modMain {

void Main(Application& App) {
    // Clients make scanners without a manager too, in a second instance as well.
    ResumeNext([] { LetScannerClean(); });
    if (App.PrevInstance()) {
        return;
    }
    App.SetTaskVisible(false);
    State().DataInitialized = false;
    App.Load(std::make_unique<frmHolder>());
}

}  // namespace kel::modMain
