// The engine as its automation server has it.
#pragma once

#include "companions/Engine.h"
#include "latebound/LateBound.h"

namespace kel::latebound {

/// Drives the registered server by the names of its classes and members. The calling thread is in an Apartment.
class AutomationEngine final : public companions::Engine {
public:
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

private:
    // Made at the first use: it lays its folder where the user's data are.
    const Object& Cleaner();

    Object manager_;
    Object scanner_;
    Object cleaner_;
};

}  // namespace kel::latebound
