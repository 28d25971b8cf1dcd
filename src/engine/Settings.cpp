#include "engine/Settings.h"

namespace kel {

void Settings::Save(std::string_view /*Name*/, std::string_view /*Value*/) {
}

std::string Settings::View(std::string_view /*Name*/) const {
    return {};
}

void Settings::Delete(std::string_view /*Name*/) {
}

}  // namespace kel
