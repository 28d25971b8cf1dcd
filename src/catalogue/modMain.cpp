#include "catalogue/modMain.h"

#include "catalogue/clsThreat.h"
#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/RuntimeError.h"
#include "core/Text.h"
#include "core/Value.h"

namespace kel::modMain {

bool ThreatExists(std::int32_t ThreatID) {
    bool exists = false;
    ResumeNext([&] { exists = State().ThreatCatalog && State().ThreatCatalog->Contains(Text(ThreatID)); });
    return exists;
}

bool LoadThreatObject(std::int32_t ThreatID, std::shared_ptr<kel::Threat>& Threat) {
    bool loaded = false;
    Trap("modMain", "LoadThreatObject", [&] {
        if (!ThreatExists(ThreatID)) {
            return;
        }
        const auto record = State().ThreatCatalog->Item(Text(ThreatID));
        Threat = std::make_shared<kel::Threat>();
        Threat->ThreatID = ThreatID;
        Threat->ThreatName = record->ThreatName;
        Threat->Category = record->ThreatCategory;
        Threat->ThreatType = record->ThreatType;
        Threat->DescriptionShort = record->ThreatDesc;
        Threat->Author = record->ThreatAuthor;
        Threat->AuthorURL = record->ThreatAuthorURL;
        Threat->ThreatLevel = record->ThreatLevel;
        Threat->AdviseType = record->ThreatAdviseType;
        Threat->AdviseDetails = record->ThreatAdviseDetails;
        Threat->CanQuarantine = record->ThreatCanQuarantine;
        Threat->CustomRemovalType = static_cast<enCustomRemovalType>(ToLong(record->ThreatCustomRemovalType));
        Threat->CustomData = record->ThreatCustomData;
        Threat->OptionLevel = ToInteger(record->ThreatOptionLevel);
        loaded = true;
    });
    return loaded;
}

}  // namespace kel::modMain
