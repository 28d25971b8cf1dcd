// Registration of components by their libraries' entry points.
#pragma once

#include "platform/Components.h"

namespace kel::windows {

/// A library for another processor than this program's can't be loaded here; the system's regsvr32.exe is run on it,
/// and its exit code is the answer. That takes a minute at most.
class WindowsComponents final : public platform::Components {
public:
    platform::Result<std::int32_t> Register(std::string_view path) override;
    platform::Result<std::int32_t> Unregister(std::string_view path) override;
};

}  // namespace kel::windows
