// What of the engine is handed out to clients, and by which interface.
#pragma once

#include <kelThreatEngine.h>

#include "automation/Identity.h"

namespace kel {
class CleanerCallback;
class Recordset;
class ScannerCallback;
class Settings;
}  // namespace kel

namespace kel::automation {

KEL_WRAPPED(kel::Recordset, _Recordset);
KEL_WRAPPED(kel::Settings, _Settings);
KEL_WRAPPED(kel::ScannerCallback, _ScannerCallback);
KEL_WRAPPED(kel::CleanerCallback, _CleanerCallback);

}  // namespace kel::automation
