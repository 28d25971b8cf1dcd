// A text file that is read and written again as a whole.
#pragma once

#include <string>
#include <string_view>

namespace kel::whole {

/// The bytes of a file. A failure is raised.
[[nodiscard]] std::string ContentsOf(std::string_view path);

/// Writes all of a file that is there, and cuts it only then, so that a full disk does not cost what was in it. A
/// read-only file is read-only again afterwards. A failure is raised.
void Overwrite(std::string_view path, std::string_view bytes);

}  // namespace kel::whole
