// The engine in the test's own process, as it is after a new start of the machine.
#pragma once

#include <optional>
#include <string>

#include "companions/Engine.h"
#include "core/EngineState.h"
#include "engine/Manager.h"

namespace kel::test {

class InProcessEngine final : public companions::Engine {
public:
    /// @param appFolder where the shipped tables lie, without a trailing backslash
    explicit InProcessEngine(std::string appFolder) : appFolder_(std::move(appFolder)) {}

    void Start() override;
    std::string UserDataFolder() override;
    void SetUserDataFolder(std::string_view folder) override;
    void RunAllCleanerFolders() override;
    void RunAllCleanerFiles() override;
    void RunAllCleanerRegistryKeys() override;
    void RunAllCleanerRegistryValues() override;
    void InitializeClean(std::string_view scanID) override;
    void UninitializeClean() override;
    std::int32_t QuarantineThreat(std::int32_t threatID) override;
    void DestroyThreat(std::int32_t threatID) override;
    std::string QuarantineID(std::int32_t threatID) override;
    bool IsQuarantined(std::string_view quarantineID) override;
    bool DestroyQuarantined(std::string_view quarantineID) override;
    std::vector<std::string> DetectedPaths(std::string_view scanID, std::int32_t threatID) override;
    void AddDeletedThreat(std::string_view scanID, std::int32_t threatID) override;
    void PersistHistory() override;

    /// To look at what it holds. Only when it was started.
    [[nodiscard]] Manager& Root() { return *manager_; }
    [[nodiscard]] bool IsStarted() const { return manager_.has_value(); }

private:
    kel::Cleaner& Cleaner();

    std::string appFolder_;
    std::optional<EngineScope> scope_;
    std::optional<Manager> manager_;
};

}  // namespace kel::test
