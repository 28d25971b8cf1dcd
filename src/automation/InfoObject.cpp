#include "automation/Object.h"
#include "automation/Objects.h"
#include "engine/Info.h"

namespace kel::automation {

namespace {

class InfoObject final : public Object<kel::Info, _Info, ::Info> {
public:
    using Object::Object;

    KEL_CALL(BSTR, DBVersionThreatData)
    KEL_CALL(BSTR, DBVersionScanData)
    STDMETHODIMP Diagnostics(VARIANT_BOOL Flag, BSTR* Result) override {
        return Answer(Result, [&] { return It().Diagnostics(FromBool(Flag)); });
    }
};

}  // namespace

KEL_WRAPS(InfoObject, kel::Info)

}  // namespace kel::automation
