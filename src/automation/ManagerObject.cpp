#include "automation/Object.h"
#include "automation/Objects.h"
#include "engine/Manager.h"

namespace kel::automation {

namespace {

class ManagerObject final : public Object<kel::Manager, _Manager, ::Manager> {
public:
    using Object::Object;

    STDMETHODIMP Inititalize(::enLanguages Language, ::enVersionType VersionType, VARIANT_BOOL* Result) override {
        return Answer(Result, [&] {
            return It().Inititalize(static_cast<kel::enLanguages>(Language),
                                    static_cast<kel::enVersionType>(VersionType));
        });
    }
    KEL_CALL(VARIANT_BOOL, IsInititalized)
    KEL_CALL(VARIANT_BOOL, UnInititalize)
    KEL_READ(::enLanguages, CurrentLanguage)
    KEL_READ(::enVersionType, CurrentVersionType)
    KEL_READ(_Scanner*, Scanner)
    KEL_READ(_Cleaner*, Cleaner)
    KEL_READ(_Threats*, Threats)
    KEL_READ(_Quarantine*, Quarantine)
    KEL_READ(_IgnoredThreats*, IgnoredThreats)
    KEL_READ(_ScanHistory*, ScanHistory)
    KEL_READ(_Settings*, Settings)
    KEL_READ(BSTR, UserName)
    KEL_READ(VARIANT_BOOL, HasAdminPermission)
};

}  // namespace

KEL_WRAPS(ManagerObject, kel::Manager)

}  // namespace kel::automation
