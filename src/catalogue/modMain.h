// Loading of the catalogue and of the signature tables, and the lookup of a threat. The rest of this module, the start
// of the process and the order of the loads, is in the engine module.
#pragma once

#include <cstdint>
#include <memory>

#include "catalogue/Threat.h"

namespace kel::modMain {

/// Replaces the catalogue by the rows of `kelThreatData.sdb` in the program's folder, and stores that file's size and
/// version. The first bad row ends the load; the rows before it stay.
/// @return true, after a failure too.
bool InitializeThreatData();

/// Replaces all signature tables, the extension filter and the resuscitators by those in the program's folder. A
/// missing table is reported, and ends the load where its turn comes: those behind it stay empty.
/// @return true, after a failure too.
bool InitializeScanData();

/// Whether the catalogue has the number. Reports nothing.
[[nodiscard]] bool ThreatExists(std::int32_t ThreatID);

/// Makes a record of the catalogue's entry.
/// @param Threat untouched when the number is unknown; partly filled when an entry's value can't be converted
/// @return false in both cases.
bool LoadThreatObject(std::int32_t ThreatID, std::shared_ptr<kel::Threat>& Threat);

}  // namespace kel::modMain
