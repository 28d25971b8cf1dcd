// What a companion program did, for the user and for support.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>
#include <utility>

namespace kel::companions {

/// The folder of the user's data, with a trailing backslash: the value `UserDataRootPath` below the product's key in
/// HKEY_CURRENT_USER, else the engine's own choice in the user's folder for local application data. Empty when the
/// user has none. Nothing is made.
[[nodiscard]] std::string UserDataFolder();

/// The same, or without one the folder of the program, for the log alone.
[[nodiscard]] std::string LogFolder(std::string_view programPath);

/// Writes one line for each event into `logs\<program>.log`: date and time, "::", and the text. What can't be written
/// is lost; failures also go to a stream.
class WorkLog {
public:
    /// @param program name of the program, without an extension
    /// @param folder that `logs` lies in, with a trailing backslash; made when it is missing
    /// @param failures takes the lines of failures; not owned, null: none
    WorkLog(std::string program, std::string folder, std::FILE* failures = stderr);

    /// Goes on in another folder.
    void MoveTo(std::string folder) { folder_ = std::move(folder); }

    void Say(std::string_view text);
    /// The line begins with "Failed: ".
    void Fail(std::string_view text);

    /// Whether anything was a failure so far.
    [[nodiscard]] bool HasFailures() const { return hasFailures_; }

private:
    std::string program_;
    std::string folder_;
    std::FILE* failures_;
    bool hasFailures_ = false;
};

}  // namespace kel::companions
