// The start of the process.
#pragma once

#include <memory>

#include "catalogue/modMain.h"
#include "engine/frmHolder.h"
#include "scanner/EngineData.h"

namespace kel {

/// The program that holds the engine, as its start needs it.
class Application {
public:
    virtual ~Application() = default;
    /// Whether another instance of this executable runs already.
    [[nodiscard]] virtual bool PrevInstance() = 0;
    /// Shows the process in the list of tasks, or hides it.
    virtual void SetTaskVisible(bool visible) = 0;
    /// Keeps the form, and with it the process, until the process is ended from outside.
    virtual void Load(std::unique_ptr<frmHolder> form) = 0;
};

}  // namespace kel

namespace kel::modMain {

/// What runs before any object exists. The caller goes on to its message loop in all cases: a second instance lives for
/// as long as it has objects. No data are read.
void Main(Application& App);

}  // namespace kel::modMain
