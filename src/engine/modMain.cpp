#include "engine/modMain.h"

#include "core/EngineState.h"

namespace kel::modMain {

void Main(Application& App) {
    if (App.PrevInstance()) {
        return;
    }
    App.SetTaskVisible(false);
    State().DataInitialized = false;
    App.Load(std::make_unique<frmHolder>());
}

}  // namespace kel::modMain
