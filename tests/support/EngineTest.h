// The fixture of every test that touches the engine: a machine, an installed platform, a fresh engine state.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/EngineState.h"
#include "core/Failures.h"
#include "platform/Platform.h"
#include "support/ScratchMachine.h"

namespace kel::test {

/// What stands when a test begins: `Folder()` is empty but for the folders `app` and `user`; State().App.Path is
/// `app`, State().UserDataFolder is `user\`; nothing is loaded.
class EngineTest : public ::testing::Test {
protected:
    EngineTest();
    ~EngineTest() override;

    /// The machine's platform without any decorator.
    [[nodiscard]] platform::Platform Machine() const { return machine_.View(); }
    /// Works on another platform from here on: a decorator or fakes over Machine(). Its parts must outlive the test
    /// body.
    void Install(const platform::Platform& platform);

    [[nodiscard]] const std::string& Folder() const { return machine_.Folder(); }
    [[nodiscard]] std::string AppFolder() const { return Folder() + "app\\"; }
    [[nodiscard]] std::string UserFolder() const { return Folder() + "user\\"; }
    /// An existing, empty key below HKEY_CURRENT_USER.
    [[nodiscard]] const std::string& Key() const { return machine_.Key(); }

    // Always on the machine itself, whatever is installed.
    void WriteFile(std::string_view path, std::string_view bytes) { test::WriteFile(Machine(), path, bytes); }
    [[nodiscard]] std::string ReadFile(std::string_view path) { return test::ReadFile(Machine(), path); }
    void MakeFolder(std::string_view path) { test::MakeFolder(Machine(), path); }
    [[nodiscard]] bool Exists(std::string_view path) { return Machine().files->PathExists(path); }

    /// Everything that was reported since the test began.
    [[nodiscard]] const std::vector<FailureRecord>& Reported() const { return reported_; }
    /// The lines of errors.log, without their line ends; empty when there is no log.
    [[nodiscard]] std::vector<std::string> ErrorLog();

private:
    ScratchMachine machine_;
    std::optional<platform::PlatformScope> installed_;
    std::vector<FailureRecord> reported_;
    std::optional<EngineScope> scope_;
};

}  // namespace kel::test
