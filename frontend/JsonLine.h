// One JSON object as a line of output.
#pragma once

#include <nlohmann/json.hpp>

#include <string>

#include "platform/Platform.h"

namespace kel::frontend {

/// Fields in the order in which they are added.
using Json = nlohmann::ordered_json;

/// Text of the machine in UTF-8: it may be in the machine's own code page, and may hold bytes that are no text at all.
[[nodiscard]] inline std::string Utf8(const std::string& text) {
    return platform::Current().text->ToUtf8(text);
}

/// The object with its line end, in ASCII, so that no byte of a name steers a terminal or depends on a code page.
[[nodiscard]] inline std::string JsonLine(const Json& object) {
    return object.dump(-1, ' ', true, Json::error_handler_t::replace) + '\n';
}

}  // namespace kel::frontend
