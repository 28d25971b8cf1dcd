#pragma once

#include <string>
#include <string_view>

namespace kel {

/// Names with values for clients, as the interface has it. Nothing is kept: front ends have their own settings.
class Settings {
public:
    // In slot order.

    /// Does nothing.
    void Save(std::string_view Name, std::string_view Value);
    /// @return always empty
    [[nodiscard]] std::string View(std::string_view Name) const;
    /// Does nothing.
    void Delete(std::string_view Name);
};

}  // namespace kel
