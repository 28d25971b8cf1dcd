// All access to a machine, gathered.
#pragma once

#include "platform/Clock.h"
#include "platform/Components.h"
#include "platform/Files.h"
#include "platform/Internet.h"
#include "platform/MessageLoop.h"
#include "platform/Processes.h"
#include "platform/Registry.h"
#include "platform/RestorePoints.h"
#include "platform/Rights.h"
#include "platform/Services.h"
#include "platform/Shell.h"
#include "platform/SystemInfo.h"
#include "platform/Text.h"
#include "platform/VersionResources.h"

namespace kel::platform {

/// What a platform can do. A front end says "not available" for what is false here.
struct Capabilities {
    bool processes = false;   ///< processes run on the machine and can be listed
    bool services = false;    ///< services run on the machine and can be stopped
    bool components = false;  ///< libraries can be called to register and unregister their components
    bool network = false;     ///< files can be fetched from the network, and restore points asked for
    bool registry = false;    ///< there is a registry to read
    bool writable = false;    ///< the machine's drives and registry accept writes
    bool live = false;        ///< the machine is the one that this program runs on
};

/// One machine, as a set of references to its parts. It owns nothing: a platform class owns the parts and outlives
/// every copy of this record. A decorator is a copy with some parts replaced.
struct Platform {
    Files* files = nullptr;
    Registry* registry = nullptr;
    Processes* processes = nullptr;
    Rights* rights = nullptr;
    Services* services = nullptr;
    Components* components = nullptr;
    Internet* internet = nullptr;
    RestorePoints* restorePoints = nullptr;
    VersionResources* versions = nullptr;
    Shell* shell = nullptr;
    Clock* clock = nullptr;
    Text* text = nullptr;
    MessageLoop* loop = nullptr;
    SystemInfo* system = nullptr;
    Capabilities can;
};

/// The platform that the engine works on. One must be installed first.
const Platform& Current();

/// Installs a platform for its lifetime, and brings back the one before it. The parts must outlive it.
class PlatformScope {
public:
    explicit PlatformScope(const Platform& platform);
    ~PlatformScope();
    PlatformScope(const PlatformScope&) = delete;
    PlatformScope& operator=(const PlatformScope&) = delete;

private:
    Platform previous_;
};

}  // namespace kel::platform
