// The quarantine as its records have it, with the folders where they are now.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "core/Failures.h"
#include "frontend/Session.h"
#include "platform/Registry.h"
#include "quarantine/QuarantineThreat.h"

namespace kel::frontend {

/// One thing that was taken away.
struct KeptItem {
    const char* kind = "";  ///< file, cookie, folder, registry or ini
    std::string location;   ///< where it was, as it is shown
    std::string path{};     ///< of files, cookies and folders
    std::string copy{};     ///< engine's path of what is kept of a file or cookie
    platform::Hive hive = 0;
    std::string key{};
    std::string value{};     ///< empty: the key itself
    bool empty = false;      ///< a value whose data are not on record
    bool registers = false;  ///< a component whose registration is a part of the restoring

    /// Whether it is on the machine that is installed.
    [[nodiscard]] bool IsThere() const;
};

class QuarantineView {
public:
    /// Opens the tables, as the cleaner does: programs that start each other again end there. Throws MachineError when
    /// they can't be opened.
    explicit QuarantineView(Session& session);

    /// All records, without their locations.
    [[nodiscard]] std::vector<std::shared_ptr<QuarantineThreat>> All() const;
    /// One with its locations; null for an unknown identifier.
    [[nodiscard]] std::shared_ptr<QuarantineThreat> Find(const std::string& id) const;
    /// In the order in which they are restored; the lines of ini files, which no restoring brings back, at the end.
    [[nodiscard]] std::vector<KeptItem> Items(const QuarantineThreat& threat) const;

private:
    /// A host folder has the drive letter that is free, so a record may name its folder by another one, or by a place
    /// from which the user has moved it.
    void FindFolders();

    Session& session_;
};

}  // namespace kel::frontend
