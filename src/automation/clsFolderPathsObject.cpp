#include "automation/Object.h"
#include "automation/Objects.h"
#include "system/clsFolderPaths.h"

namespace kel::automation {

namespace {

class clsFolderPathsObject final : public Object<kel::clsFolderPaths, _clsFolderPaths, ::clsFolderPaths> {
public:
    using Object::Object;

    KEL_FIELD(BSTR, PathSystem)
    KEL_FIELD(BSTR, PathWindows)
    KEL_FIELD(BSTR, PathProgramFiles)
    KEL_FIELD(BSTR, PathUserApplicationData)
    KEL_FIELD(BSTR, PathDownloadedProgramFiles)
    KEL_FIELD(BSTR, PathStartUpFilesUser)
    KEL_FIELD(BSTR, PathStartUpFilesAllUsers)
    KEL_FIELD(BSTR, PathCookies)
    KEL_FIELD(BSTR, PathDesktop)
    KEL_FIELD(BSTR, PathPrograms)
    KEL_FIELD(BSTR, PathFavorites)
    KEL_FIELD(BSTR, PathStartMenu)
    KEL_FIELD(BSTR, PathProfile)
    KEL_FIELD(BSTR, PathCommonStartMenu)
    KEL_FIELD(BSTR, PathCommonPrograms)
    KEL_FIELD(BSTR, PathCommonFavorites)
    KEL_FIELD(BSTR, PathLocalAppData)
    KEL_FIELD(BSTR, PathLocalSettings)
    KEL_FIELD(BSTR, PathAltStartup)
    KEL_FIELD(BSTR, PathCommonAltStartup)
    KEL_FIELD(BSTR, PathCommonDesktop)

    KEL_DO(LoadFolderPaths)
    STDMETHODIMP TranslateFromVariablePath(BSTR Path, BSTR* Result) override {
        return Answer(Result, [&] { return It().TranslateFromVariablePath(FromBstr(Path)); });
    }
    STDMETHODIMP TranslateToVariablePath(BSTR Path, BSTR* Result) override {
        return Answer(Result, [&] { return It().TranslateToVariablePath(FromBstr(Path)); });
    }
    STDMETHODIMP ResolveFilePath(BSTR FilePath, VARIANT* Result) override {
        return Answer(Result, [&] { return It().ResolveFilePath(FromBstr(FilePath)); });
    }
};

}  // namespace

KEL_WRAPS(clsFolderPathsObject, kel::clsFolderPaths)

}  // namespace kel::automation
