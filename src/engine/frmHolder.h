#pragma once

#include <string_view>

namespace kel {

/// A form that is never shown. Its only use is to exist: while one is loaded, the process of the server stays up after
/// its last object has gone. The engine never unloads it.
class frmHolder {
public:
    static constexpr std::string_view Caption = "Form1";
};

}  // namespace kel
