#include "platform/Platform.h"

namespace kel::platform {

namespace {

Platform& Installed() {
    static Platform platform;
    return platform;
}

}  // namespace

const Platform& Current() {
    return Installed();
}

PlatformScope::PlatformScope(const Platform& platform) : previous_(Installed()) {
    Installed() = platform;
}

PlatformScope::~PlatformScope() {
    Installed() = previous_;
}

}  // namespace kel::platform
