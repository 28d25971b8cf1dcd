// A machine of the test's own: offline a small Wine prefix in a temporary folder, on Windows the real one with a
// scratch folder and a scratch key that are removed afterwards.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/Platform.h"

namespace kel::test {

class ScratchMachine {
public:
    ScratchMachine();
    ~ScratchMachine();
    ScratchMachine(const ScratchMachine&) = delete;
    ScratchMachine& operator=(const ScratchMachine&) = delete;

    [[nodiscard]] platform::Platform View() const;
    /// An empty folder on drive C:, with a trailing backslash; the same one for the life of the object.
    [[nodiscard]] const std::string& Folder() const { return folder_; }
    /// An existing, empty key below HKEY_CURRENT_USER.
    [[nodiscard]] const std::string& Key() const { return key_; }

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
    std::string folder_;
    std::string key_;
};

/// File helpers over a platform, for arranging and checking. They fail the running test when they can't do their work.
void WriteFile(const platform::Platform& platform, std::string_view path, std::string_view bytes);
std::string ReadFile(const platform::Platform& platform, std::string_view path);
void MakeFolder(const platform::Platform& platform, std::string_view path);
void RemoveTree(const platform::Platform& platform, std::string_view path);

}  // namespace kel::test
