// A bare machine over a temporary folder whose host side the test sees.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "offline/OfflinePlatform.h"

namespace kel::test {

/// Drive C: is `Root()`. Beside it lies `Outside()`, which no path of the machine may reach.
class HostMachine : public ::testing::Test {
protected:
    HostMachine();
    ~HostMachine() override;

    /// Opens the machine again with other options; `machine` and the folders stay as they are.
    void Reopen(offline::MachineOptions options);

    [[nodiscard]] offline::OfflinePlatform& Machine() { return *machine_; }
    [[nodiscard]] platform::Files& Files() { return *machine_->View().files; }
    [[nodiscard]] std::filesystem::path Root() const { return scratch_ / "disk"; }
    [[nodiscard]] std::filesystem::path Outside() const { return scratch_ / "outside"; }

    // On the host.
    void Put(const std::filesystem::path& path, std::string_view bytes = "x");
    [[nodiscard]] static std::string Get(const std::filesystem::path& path);
    void Mkdir(const std::filesystem::path& path);

    // On the machine.
    [[nodiscard]] std::optional<std::string> Read(std::string_view path);
    platform::SysError Write(std::string_view path, std::string_view bytes);
    /// Names that a pattern finds, in order.
    [[nodiscard]] std::vector<std::string> Names(std::string_view pattern);
    [[nodiscard]] platform::SysError FindError(std::string_view pattern);
    [[nodiscard]] std::optional<platform::FindData> Entry(std::string_view path);
    [[nodiscard]] platform::SysError AttributesError(std::string_view path);

private:
    std::filesystem::path scratch_;
    std::unique_ptr<offline::OfflinePlatform> machine_;
};

}  // namespace kel::test
