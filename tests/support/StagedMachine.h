// A machine whose registry and special folders a test fills itself, on every platform.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "platform/Platform.h"

namespace kel::test {

/// Over a real machine: the four hives are empty and lie below one scratch key, each by itself (no hive is a view of
/// another), and the special folders are those that the test names. All else is the machine's. The real one must
/// outlive the object.
class StagedMachine {
public:
    /// @param key scratch key below HKEY_CURRENT_USER
    StagedMachine(const platform::Platform& machine, std::string key);
    ~StagedMachine();
    StagedMachine(const StagedMachine&) = delete;
    StagedMachine& operator=(const StagedMachine&) = delete;

    [[nodiscard]] const platform::Platform& View() const { return view_; }

    /// Special folders by the shell's number. A number that is not here has none.
    std::map<int, std::string>& Folders();

    // Arrangement. All fail the running test when they can't do their work.

    void AddKey(platform::Hive hive, std::string_view key);
    /// A text value with its terminator; the default value for an empty name.
    void AddText(platform::Hive hive, std::string_view key, std::string_view name, std::string_view data);
    void AddValue(platform::Hive hive, std::string_view key, std::string_view name,
                  const platform::RegistryValue& value);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
    platform::Platform view_;
};

/// The shell's numbers of folders that tests name.
enum FolderNumber : int {
    FolderCommonStartup = 24,
    FolderUserStartup = 29,
    FolderWindows = 36,
    FolderSystem = 37,
};

}  // namespace kel::test
