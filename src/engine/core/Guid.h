// Identifiers of scans, quarantined threats and quarantined files.
#pragma once

#include <string>

#include "platform/Clock.h"

namespace kel {

/// A GUID in registry form: braces, hyphens, upper-case hexadecimal digits; 38 characters.
std::string RegistryForm(const platform::Guid& guid);

/// A fresh identifier: a new GUID in registry form without its opening brace, cut to the 30 characters that the
/// identifier columns of the tables hold.
std::string NewGuidString();

}  // namespace kel
