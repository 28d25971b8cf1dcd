// Files of the program's own on the host: written whole or not at all, and by one run at a time.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace kel::frontend {

/// Writes a new file beside the old one, puts it on the medium and gives it the old one's name and permissions.
/// @return what went wrong; the old file is then as it was. Nothing when all is written.
[[nodiscard]] std::optional<std::string> ReplaceHostFile(const std::filesystem::path& file, std::string_view bytes);

/// Waits until no other run of the program holds the folder, and holds it until UnlockHostFolder or the end of the
/// process.
/// @return what UnlockHostFolder takes; negative when the folder can't be locked
[[nodiscard]] int LockHostFolder(const std::filesystem::path& folder);
void UnlockHostFolder(int lock);

}  // namespace kel::frontend
