#include "automation/Object.h"
#include "automation/Objects.h"
#include "scanner/Scanner.h"
#include "system/clsFolderPaths.h"

namespace kel::automation {

namespace {

class ScannerObject final : public Object<kel::Scanner, _Scanner, ::Scanner> {
public:
    using Object::Object;

    KEL_FIELD(VARIANT_BOOL, DoScanProcesses)
    KEL_FIELD(VARIANT_BOOL, DoScanRegistry)
    KEL_FIELD(VARIANT_BOOL, DoScanCookies)
    KEL_FIELD(VARIANT_BOOL, DoDriveScan)
    KEL_FIELD(VARIANT_BOOL, DoMostCommon)
    KEL_FIELD(VARIANT_BOOL, DoScanZips)
    KEL_FIELD(VARIANT_BOOL, DoSkipCommonFiles)
    KEL_FIELD(VARIANT_BOOL, OptScanProcessesDeep)
    KEL_FIELD(VARIANT_BOOL, OptRecursiveFileScan)
    KEL_FIELD(VARIANT_BOOL, OptIncludeFolders)
    KEL_FIELD(::enScanDepth, OptScanDepth)

    KEL_READ(_Scan*, Scan)
    KEL_READ(BSTR, LastError)
    KEL_READ(LONG, LastErrorCode)
    KEL_READ(::enScannerState, ScannerState)
    KEL_FIELD(VARIANT_BOOL, IsScheduledScan)
    KEL_CALL(VARIANT_BOOL, InitializeScan)
    KEL_DO(SetScanComplete)
    STDMETHODIMP AbortScan(BSTR szReason) override {
        return Do([&] { It().AbortScan(FromBstr(szReason)); });
    }
    STDMETHODIMP ScanProcesses(VARIANT_BOOL blnScanProcessModules) override {
        return Do([&] { It().ScanProcesses(FromBool(blnScanProcessModules)); });
    }
    STDMETHODIMP IsFileThreat(BSTR FilePath, BSTR AltPath, ::enScanDepth ScanDepth, BSTR MD5, LONG* Result) override {
        return Answer(Result, [&] {
            return It().IsFileThreat(FromBstr(FilePath), FromBstr(AltPath), static_cast<kel::enScanDepth>(ScanDepth),
                                     FromBstr(MD5));
        });
    }
    STDMETHODIMP FileThreatExists(BSTR ThisFile, LONG* Result) override {
        return Answer(Result, [&] { return It().FileThreatExists(FromBstr(ThisFile)); });
    }
    STDMETHODIMP ScanCommonLocations(VARIANT_BOOL blnQuickScan) override {
        return Do([&] { It().ScanCommonLocations(FromBool(blnQuickScan)); });
    }
    KEL_DO(ScanKnownLocations)
    KEL_DO(ScanKnownFolders)
    STDMETHODIMP ScanKnownFiles(BSTR StartPath) override {
        return Do([&] { It().ScanKnownFiles(FromBstr(StartPath)); });
    }
    KEL_DO(ScanCommonTactics)
    STDMETHODIMP ScanFolder(BSTR FolderPath, VARIANT_BOOL blnRecursive, VARIANT_BOOL blnIncludeFolders) override {
        return Do([&] { It().ScanFolder(FromBstr(FolderPath), FromBool(blnRecursive), FromBool(blnIncludeFolders)); });
    }
    STDMETHODIMP IsFolderThreat(BSTR FolderPath, _clsFolderPaths** oclsFolderPaths, LONG* Result) override {
        return Answer(Result, [&] {
            return It().IsFolderThreat(FromBstr(FolderPath),
                                       Unwrap<clsFolderPaths>(oclsFolderPaths ? *oclsFolderPaths : nullptr));
        });
    }
    KEL_DO(ScanRegistry)
    KEL_DO(ScanCookies)
    KEL_CALL(VARIANT_BOOL, RunScanEasy)
    STDMETHODIMP MD5ThreatExists(BSTR ThisMD5, LONG* Result) override {
        return Answer(Result, [&] { return It().MD5ThreatExists(FromBstr(ThisMD5)); });
    }
    STDMETHODIMP FilePathThreatExists(BSTR ThisPath, LONG* Result) override {
        return Answer(Result, [&] { return It().FilePathThreatExists(FromBstr(ThisPath)); });
    }
    STDMETHODIMP FolderThreatExists(BSTR ThisFolder, LONG* Result) override {
        return Answer(Result, [&] { return It().FolderThreatExists(FromBstr(ThisFolder)); });
    }
    STDMETHODIMP CookieThreatExists(BSTR ThisCookie, LONG* Result) override {
        return Answer(Result, [&] { return It().CookieThreatExists(FromBstr(ThisCookie)); });
    }
    STDMETHODIMP AddScanDriveAndPath(BSTR ThisDrive) override {
        return Do([&] { It().AddScanDriveAndPath(FromBstr(ThisDrive)); });
    }
    KEL_CALL(SHORT, ScanDriveAndPathCount)
    STDMETHODIMP GetScanDriveAndPath(SHORT ThisIndex, BSTR* Result) override {
        return Answer(Result, [&] { return It().GetScanDriveAndPath(ThisIndex); });
    }
    KEL_CALL(VARIANT_BOOL, ScanDriveOrFolder)
    KEL_CALL(VARIANT_BOOL, ResetScan)
    KEL_CALL(VARIANT_BOOL, ScanMostCommon)

    KEL_PROPERTY(LONG, OptMaxMD5Len)
    KEL_PROPERTY(LONG, ScannerPriority)
    KEL_PROPERTY(VARIANT_BOOL, SuspendActive)
    KEL_PROPERTY(VARIANT_BOOL, ScanAllUsers)
    KEL_PROPERTY(SHORT, OptMaxOptionLevel)
    KEL_PROPERTY(VARIANT_BOOL, optWriteHistory)
    KEL_PROPERTY(VARIANT_BOOL, SkipCommonFiles)
    KEL_PROPERTY(BSTR, UserDataRootPath)

    STDMETHODIMP GetScannerVersion(LONG MajorVersion, LONG MinorVersion, LONG Revision) override {
        return Do([&] { It().GetScannerVersion(MajorVersion, MinorVersion, Revision); });
    }
    STDMETHODIMP IsRegKeyThreat(BSTR RegHive, BSTR Regkey, BSTR RegValueName, VARIANT RegValue, LONG* Result) override {
        return Answer(Result, [&] {
            return It().IsRegKeyThreat(FromBstr(RegHive), FromBstr(Regkey), FromBstr(RegValueName),
                                       FromVariant(RegValue));
        });
    }
    KEL_CALL(LONG, ScanDBVersion)
    KEL_CALL(BSTR, ThreatList)
    STDMETHODIMP ScanThreat(LONG ThreatID, VARIANT_BOOL CleanIt, VARIANT_BOOL* Result) override {
        return Answer(Result, [&] { return It().ScanThreat(ThreatID, FromBool(CleanIt)); });
    }
    KEL_DO(ReloadThreatData)
};

}  // namespace

KEL_WRAPS(ScannerObject, kel::Scanner)

}  // namespace kel::automation
