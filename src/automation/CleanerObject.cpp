#include "automation/CollectionObject.h"
#include "automation/Object.h"
#include "automation/Objects.h"
#include "cleaner/Cleaner.h"
#include "system/clsFolderPaths.h"

namespace kel::automation {

namespace {

class CleanerObject final : public Object<kel::Cleaner, _Cleaner, ::Cleaner> {
public:
    using Object::Object;

    KEL_OBJECT_FIELD(_clsFolderPaths, FolderPaths)
    KEL_FIELD(VARIANT_BOOL, IsCleanerRunning)
    KEL_OBJECT_FIELD(_CleanerCallback, Callback)
    KEL_READ(VARIANT_BOOL, IsRebootRequired)
    KEL_READ(::enCleanerState, CleanerState)
    KEL_READ(_Collection*, DetectedThreats)
    STDMETHODIMP InitializeClean(BSTR ScanID, _Collection* inDetectedThreats, ::enCleanerErrors* Result) override {
        return Answer(Result, [&] {
            return It().InitializeClean(FromBstr(ScanID),
                                        Unwrap<kel::Cleaner::DetectedThreatCollection>(inDetectedThreats));
        });
    }
    KEL_DO(UninitializeClean)
    STDMETHODIMP SetWindowsXPRestorePoint(BSTR RestorePointDescription, ::enCleanerErrors* Result) override {
        return Answer(Result, [&] { return It().SetWindowsXPRestorePoint(FromBstr(RestorePointDescription)); });
    }
    STDMETHODIMP QuarantineThreat(LONG ThreatID, VARIANT_BOOL ForceDestroy, BSTR* outQuarantineThreatID,
                                  ::enCleanerErrors* Result) override {
        return Answer(Result, [&] {
            std::string identifier = outQuarantineThreatID ? FromBstr(*outQuarantineThreatID) : std::string();
            const auto outcome = It().QuarantineThreat(ThreatID, FromBool(ForceDestroy), identifier);
            if (outQuarantineThreatID) {
                BSTR made = ToBstr(identifier);
                ::SysFreeString(*outQuarantineThreatID);
                *outQuarantineThreatID = made;
            }
            return outcome;
        });
    }
    STDMETHODIMP DestroyThreat(LONG ThreatID, ::enCleanerErrors* Result) override {
        return Answer(Result, [&] { return It().DestroyThreat(ThreatID); });
    }
    KEL_DO(RunAllCleanerFolders)
    KEL_DO(RunAllCleanerFiles)
    KEL_DO(RunAllCleanerRegistryKeys)
    KEL_DO(RunAllCleanerRegistryValues)
    KEL_READ(VARIANT_BOOL, HasAdminPermission)
    KEL_PROPERTY(VARIANT_BOOL, EnableLog)
    KEL_PROPERTY(BSTR, QuarantineRootPath)
};

}  // namespace

KEL_WRAPS(CleanerObject, kel::Cleaner)

}  // namespace kel::automation
