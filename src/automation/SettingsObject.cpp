#include "automation/Object.h"
#include "automation/Objects.h"
#include "engine/Settings.h"

namespace kel::automation {

namespace {

class SettingsObject final : public Object<kel::Settings, _Settings, ::Settings> {
public:
    using Object::Object;

    STDMETHODIMP Save(BSTR Name, BSTR Value) override {
        return Do([&] { It().Save(FromBstr(Name), FromBstr(Value)); });
    }
    STDMETHODIMP View(BSTR Name, BSTR* Result) override {
        return Answer(Result, [&] { return It().View(FromBstr(Name)); });
    }
    STDMETHODIMP Delete(BSTR Name) override {
        return Do([&] { It().Delete(FromBstr(Name)); });
    }
};

}  // namespace

KEL_WRAPS(SettingsObject, kel::Settings)

}  // namespace kel::automation
