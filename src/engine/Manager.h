// The root object: what a client creates first.
#pragma once

#include <memory>
#include <string>

#include "catalogue/Threats.h"
#include "cleaner/Cleaner.h"
#include "core/EngineState.h"
#include "engine/Settings.h"
#include "quarantine/Quarantine.h"
#include "results/IgnoredThreats.h"
#include "results/ScanHistory.h"
#include "scanner/Scanner.h"

namespace kel {

/// Opens the engine and hands out the objects that do the work. Everything that these show lies in the engine state, so
/// two managers show the same. Nothing is raised.
class Manager {
public:
    // In slot order.

    /// Stores both values, which nothing in the engine reads, and loads the ignore list.
    /// @return always false; IsInititalized tells more.
    bool Inititalize(enLanguages Language = LanguageEnglish, enVersionType VersionType = VersionTypeClient);
    /// Whether the ignore list holds at least one entry: false with an empty list, however good the start was.
    [[nodiscard]] bool IsInititalized() const;
    /// Unloads nothing and writes nothing. @return always false.
    bool UnInititalize();

    [[nodiscard]] enLanguages CurrentLanguage() const;
    [[nodiscard]] enVersionType CurrentVersionType() const;

    /// Made at the first use; the same one from then on.
    [[nodiscard]] std::shared_ptr<kel::Scanner> Scanner();
    /// Made at the first use; the same one from then on.
    [[nodiscard]] std::shared_ptr<kel::Cleaner> Cleaner();
    // A new object at each use: these have no state of their own.
    [[nodiscard]] std::shared_ptr<kel::Threats> Threats();
    [[nodiscard]] std::shared_ptr<kel::Quarantine> Quarantine();
    [[nodiscard]] std::shared_ptr<kel::IgnoredThreats> IgnoredThreats();
    [[nodiscard]] std::shared_ptr<kel::ScanHistory> ScanHistory();
    [[nodiscard]] std::shared_ptr<kel::Settings> Settings();

    /// The environment variable "USERNAME" at this moment.
    [[nodiscard]] std::string UserName() const;
    /// Whether the process's user belongs to the administrators of the machine.
    [[nodiscard]] bool HasAdminPermission() const;

private:
    std::shared_ptr<kel::Scanner> scanner_;
    std::shared_ptr<kel::Cleaner> cleaner_;
    std::shared_ptr<kel::Threats> threats_;
    std::shared_ptr<kel::Quarantine> quarantine_;
    std::shared_ptr<kel::IgnoredThreats> ignoredThreats_;
    std::shared_ptr<kel::ScanHistory> scanHistory_;
    std::shared_ptr<kel::Settings> settings_;
};

}  // namespace kel
