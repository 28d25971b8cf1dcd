// What Threat and ThreatLite have in common.
#pragma once

#include "automation/Object.h"
#include "automation/Objects.h"

namespace kel::automation {

/// The fields and operations of a threat's record.
template <class Engine, class DualInterface, class Coclass>
class ThreatRecordObject : public Object<Engine, DualInterface, Coclass> {
    using Base = Object<Engine, DualInterface, Coclass>;

public:
    using Base::Answer;
    using Base::Base;
    using Base::Do;
    using Base::It;

    KEL_FIELD(LONG, ThreatID)
    KEL_FIELD(BSTR, ThreatName)
    KEL_FIELD(BSTR, Category)
    KEL_FIELD(BSTR, ThreatType)
    KEL_FIELD(BSTR, DescriptionShort)
    KEL_FIELD(BSTR, Author)
    KEL_FIELD(BSTR, AuthorURL)
    KEL_FIELD(LONG, ThreatLevel)
    KEL_FIELD(BSTR, ThreatGeneralDeatils)
    KEL_FIELD(BSTR, ThreatSecurityDetails)
    KEL_FIELD(BSTR, ThreatPrivacyDetails)
    KEL_FIELD(BSTR, ThreatStabilityDetails)
    KEL_FIELD(LONG, AdviseType)
    KEL_FIELD(BSTR, AdviseDetails)
    KEL_FIELD(SHORT, OptionLevel)
    KEL_FIELD(VARIANT_BOOL, CanQuarantine)
    KEL_FIELD(::enCustomRemovalType, CustomRemovalType)
    KEL_FIELD(BSTR, CustomData)

    KEL_CALL(BSTR, GetAdviseTypeDescription)
    KEL_CALL(BSTR, GetThreatTypeDescription)
    KEL_CALL(BSTR, GetCategoryDescription)
    KEL_CALL(LONG, GetThreatLevel)
    KEL_CALL(BSTR, GetThreatLevelDisplayName)
    KEL_CALL(BSTR, GetThreatLevelDescription)
    KEL_CALL(BSTR, GetAdviseDisplay)
    KEL_CALL(BSTR, GetDescriptionDisplay)
};

}  // namespace kel::automation
