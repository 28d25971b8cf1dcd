// Windows paths as text, and the names of the host's files as names of the machine.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Result.h"

namespace kel::offline {

/// An absolute path taken apart: no `.` and `..`, no empty components, no trailing dots and blanks.
struct WindowsPath {
    char drive = 'C';                ///< upper case
    std::vector<std::string> parts;  ///< as asked for; empty for the root
    bool trailingBackslash = false;

    /// `C:\a\b`, `C:\`.
    [[nodiscard]] std::string Text() const;
};

/// Takes `path` apart, a relative one from `current`. `wildcards` allows `*`, `?`, and what they become, in the last
/// component, which then keeps its trailing dots. Fails with PathNotFound (empty, a network path), FileNotFound (a
/// device's name) or InvalidName.
[[nodiscard]] platform::Result<WindowsPath> ParsePath(std::string_view path, const WindowsPath& current,
                                                      bool wildcards = false);

/// A host's file name as the machine shows it. Every byte that can't stand in a name of Windows (invalid UTF-8, a
/// backslash, a colon, a control character, a last dot or blank, the first letter of a device's name) becomes the
/// lone surrogate U+DC00 + byte, in three bytes; no valid name holds one, so that the way back is unambiguous.
[[nodiscard]] std::string ShownName(std::string_view hostName);

/// Whether a name is the same here and there and stands for itself: ASCII, with nothing that must be escaped, no
/// device's, and no longer than a host's name may be.
[[nodiscard]] bool IsPlainName(std::string_view name);

/// The way back. Nothing when `name` is no name that ShownName gives: never a slash, never `.` or `..`.
[[nodiscard]] std::optional<std::string> HostName(std::string_view name);

/// CON, NUL, COM1 and their like, also with an extension.
[[nodiscard]] bool IsDeviceName(std::string_view name);

/// Whether it is an 8.3 name already.
[[nodiscard]] bool IsShortName(std::string_view name);

}  // namespace kel::offline
