// Whether the catalogue's tables are being loaded. The rest of this module, the user's tables, is in results.
#pragma once

namespace kel::modDataManager {

/// Whether the loader's own cookie table is still open and has rows. It is dropped when the load ends, so the answer
/// is false from then on.
[[nodiscard]] bool IsInitializedScanData();
/// Whether the loader's own threat table is still open, which it is only during a load, and the catalogue has entries.
[[nodiscard]] bool IsInitializedThreatData();

}  // namespace kel::modDataManager
