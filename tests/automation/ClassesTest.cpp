// What clients see of each class, called late as scripts do and in the process of the test.
#include <gmock/gmock.h>

#include "Late.h"

#include "automation/CollectionObject.h"

#include "automation/Objects.h"
#include "automation/TypeLibrary.h"
#include "catalogue/Threat.h"
#include "catalogue/ThreatLite.h"
#include "catalogue/clsThreat.h"
#include "engine/Info.h"
#include "engine/Manager.h"
#include "results/Scan.h"
#include "support/EngineTest.h"
#include "support/ShippedTables.h"
#include "system/clsFolderPaths.h"

namespace kel::test {
namespace {

using automation::Wrap;

template <class Engine>
ComPtr<IDispatch> New() {
    return Wrap(std::make_shared<Engine>()).template As<IDispatch>();
}

struct Class {
    const char* name;
    ComPtr<IDispatch> (*make)();
};

void PrintTo(const Class& shown, std::ostream* out) {
    *out << shown.name;
}

#define KEL_CLASS(NAME)          \
    Class {                      \
#NAME, &New < kel::NAME> \
    }
const Class AllClasses[] = {
    KEL_CLASS(Manager),
    KEL_CLASS(Settings),
    KEL_CLASS(Info),
    KEL_CLASS(Threats),
    KEL_CLASS(Threat),
    KEL_CLASS(ThreatLite),
    KEL_CLASS(Scanner),
    KEL_CLASS(Scan),
    KEL_CLASS(DetectedThreat),
    KEL_CLASS(ThreatLocationCookie),
    KEL_CLASS(ThreatLocationFile),
    KEL_CLASS(ThreatLocationFolder),
    KEL_CLASS(ThreatLocationRegKey),
    KEL_CLASS(ThreatLocationCustom),
    KEL_CLASS(ScannerCallback),
    KEL_CLASS(ScanHistory),
    KEL_CLASS(ScanHistoryDetail),
    KEL_CLASS(IgnoredThreats),
    KEL_CLASS(Quarantine),
    KEL_CLASS(QuarantineThreat),
    KEL_CLASS(QThreatLocationFile),
    KEL_CLASS(QThreatLocationCookie),
    KEL_CLASS(QThreatLocationFolder),
    KEL_CLASS(QThreatLocationRegKey),
    KEL_CLASS(QThreatLocationSpecial),
    KEL_CLASS(Cleaner),
    KEL_CLASS(CleanerCallback),
    KEL_CLASS(clsFolderPaths),
};
#undef KEL_CLASS

// A property of a class, as its type information has it.
struct Property {
    MEMBERID id = 0;
    std::wstring name;
    WORD kind = 0;            // of its assignment; 0: it can only be read
    VARTYPE type = VT_EMPTY;  // of its value
    bool enumeration = false;
};

std::vector<Property> PropertiesOf(IDispatch* object) {
    ComPtr<ITypeInfo> info;
    EXPECT_EQ(object->GetTypeInfo(0, 0, info.Out()), S_OK);
    TYPEATTR* attributes = nullptr;
    EXPECT_EQ(info->GetTypeAttr(&attributes), S_OK);
    std::vector<Property> found;
    for (UINT place = 0; place < attributes->cFuncs; ++place) {
        FUNCDESC* function = nullptr;
        if (FAILED(info->GetFuncDesc(place, &function))) {
            continue;
        }
        if (function->memid < 0x60000000 &&
            (function->invkind == INVOKE_PROPERTYPUT || function->invkind == INVOKE_PROPERTYPUTREF)) {
            BSTR name = nullptr;
            info->GetDocumentation(function->memid, &name, nullptr, nullptr, nullptr);
            const VARTYPE type = function->lprgelemdescParam[0].tdesc.vt;
            found.push_back(
                {function->memid, name, static_cast<WORD>(function->invkind), type, type == VT_USERDEFINED});
            ::SysFreeString(name);
        }
        info->ReleaseFuncDesc(function);
    }
    info->ReleaseTypeAttr(attributes);
    return found;
}

class EveryClass : public EngineTest, public ::testing::WithParamInterface<Class> {
protected:
    const ComPtr<IDispatch> object = GetParam().make();
};

// A value that a new object does not have.
Variant OtherValue(const Property& property) {
    Variant value;
    value.Ptr()->vt = property.enumeration ? static_cast<VARTYPE>(VT_I4) : property.type;
    switch (value.Get().vt) {
        case VT_BOOL:
            value.Ptr()->boolVal = VARIANT_TRUE;
            break;
        case VT_I2:
            value.Ptr()->iVal = 3;
            break;
        case VT_I4:
            value.Ptr()->lVal = property.enumeration ? 1 : 2000000000;
            break;
        case VT_DATE:
            value.Ptr()->date = 38000.75;
            break;
        case VT_BSTR:
            return Variant(std::string_view("C:\\texte \xE9t\xE9\\"));
        default:
            ADD_FAILURE() << "no value of type " << value.Get().vt;
    }
    return value;
}

TEST_P(EveryClass, GivesBackWhatIsStoredInItsProperties) {
    std::vector<Property> stored;
    for (const Property& property : PropertiesOf(object.Get())) {
        // The process's own priority stays.
        if (property.type != VT_PTR && property.name != L"ScannerPriority") {
            const Variant value = OtherValue(property);
            EXPECT_EQ(CallById(object.Get(), property.id, property.kind, {value.Get()}).outcome, S_OK);
            stored.push_back(property);
        }
    }
    // All are read behind the last is written: none writes another one's value.
    for (const Property& property : stored) {
        const Answer answer = CallById(object.Get(), property.id, DISPATCH_PROPERTYGET, {});
        EXPECT_EQ(answer.outcome, S_OK);
        const Variant expected = OtherValue(property);
        EXPECT_EQ(::VarCmp(const_cast<VARIANT*>(&answer.value.Get()), const_cast<VARIANT*>(&expected.Get()), 0, 0),
                  static_cast<HRESULT>(VARCMP_EQ))
            << automation::FromBstr(BSTR(property.name.c_str()));
    }
}

TEST_P(EveryClass, TakesNothingForAnObject) {
    for (const Property& property : PropertiesOf(object.Get())) {
        if (property.type == VT_PTR) {
            const Variant nothing{static_cast<IDispatch*>(nullptr)};
            EXPECT_EQ(CallById(object.Get(), property.id, property.kind, {nothing.Get()}).outcome, S_OK);
            EXPECT_EQ(CallById(object.Get(), property.id, DISPATCH_PROPERTYGET, {}).outcome, S_OK);
        }
    }
}

TEST_P(EveryClass, RefusesAnObjectOfAnotherClass) {
    const ComPtr<IDispatch> other = New<kel::Settings>();
    for (const Property& property : PropertiesOf(object.Get())) {
        if (property.type == VT_PTR) {
            EXPECT_EQ(CallById(object.Get(), property.id, property.kind, {Given(other).Get()}).outcome,
                      DISP_E_TYPEMISMATCH);
        }
    }
}

TEST_P(EveryClass, IsTheClassThatItSays) {
    const ComPtr<IProvideClassInfo> about = object.As<IProvideClassInfo>();
    ASSERT_TRUE(about);
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(about->GetClassInfo(info.Out()), S_OK);
    BSTR name = nullptr;
    ASSERT_EQ(info->GetDocumentation(MEMBERID_NIL, &name, nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(automation::FromBstr(name), GetParam().name);
    ::SysFreeString(name);
}

INSTANTIATE_TEST_SUITE_P(Automation, EveryClass, ::testing::ValuesIn(AllClasses),
                         [](const auto& tested) { return std::string(tested.param.name); });

class Classes : public EngineTest {
protected:
    Classes() {
        ShippedTables tables;
        tables.threats = {{1, "One"}, {2, "Two"}};
        tables.WriteTo(AppFolder());
    }
    static ComPtr<IDispatch> Member(const ComPtr<IDispatch>& object, const std::wstring& name) {
        return Call(object, name).Object();
    }
    const ComPtr<IDispatch> manager = New<kel::Manager>();
};

TEST_F(Classes, AllPropertiesThatCanBeSetAreSeen) {
    EXPECT_EQ(PropertiesOf(New<kel::Scan>().Get()).size(), 17U);
    EXPECT_EQ(PropertiesOf(New<kel::Scanner>().Get()).size(), 20U);
    EXPECT_EQ(PropertiesOf(New<kel::clsFolderPaths>().Get()).size(), 21U);
}

TEST_F(Classes, TheScannerAndTheCleanerOfAManagerAreTheSameAtEveryRead) {
    for (const wchar_t* name : {L"Scanner", L"Cleaner"}) {
        const ComPtr<IDispatch> first = Member(manager, name);
        ASSERT_TRUE(first);
        EXPECT_EQ(first.Get(), Member(manager, name).Get());
        EXPECT_NE(first.Get(), Member(New<kel::Manager>(), name).Get());
    }
}

TEST_F(Classes, TheOtherObjectsOfAManagerAreNewAtEveryRead) {
    for (const wchar_t* name : {L"Threats", L"Quarantine", L"IgnoredThreats", L"ScanHistory", L"Settings"}) {
        const ComPtr<IDispatch> first = Member(manager, name);
        ASSERT_TRUE(first);
        EXPECT_NE(first.Get(), Member(manager, name).Get());
    }
}

TEST_F(Classes, AManagerOpensWithoutArgumentsAndAnswersFalse) {
    const Answer opened = Call(manager, L"Inititalize");
    EXPECT_EQ(opened.outcome, S_OK);
    EXPECT_EQ(opened.value.Get().vt, VT_BOOL);
    EXPECT_FALSE(opened.IsTrue());
    EXPECT_EQ(Call(manager, L"Inititalize", 2, 1).outcome, S_OK);
    EXPECT_EQ(Call(manager, L"CurrentLanguage").Number(), 2);
    EXPECT_EQ(Call(manager, L"CurrentVersionType").Number(), 1);
}

TEST_F(Classes, IgnoredThreatsAreTheLiveList) {
    const ComPtr<IDispatch> ignored = Member(manager, L"IgnoredThreats");
    Call(manager, L"Inititalize");
    Call(ignored, L"AddIgnoredThreat", 7);
    const ComPtr<IDispatch> list = Member(ignored, L"GetIgnoredThreatIDs");
    ASSERT_TRUE(list);
    EXPECT_EQ(Call(list, L"Count").Number(), 1);
    Call(ignored, L"AddIgnoredThreat", 9);
    EXPECT_EQ(Call(list, L"Count").Number(), 2);
    EXPECT_EQ(Call(list, L"Item", 2).Number(), 9);
    EXPECT_EQ(Call(list, L"Item", "7").Number(), 7);
    EXPECT_TRUE(Call(manager, L"IsInititalized").IsTrue());
}

TEST_F(Classes, ThreatsOfTheCatalogueAreFoundByNumber) {
    const ComPtr<IDispatch> scanner = Member(manager, L"Scanner");
    Assign(scanner, L"UserDataRootPath", UserFolder());
    const ComPtr<IDispatch> threats = Member(manager, L"Threats");
    EXPECT_EQ(Call(threats, L"GetThreatDisplayName", 2).Text(), "Two");
    EXPECT_EQ(Call(Member(manager, L"Threats"), L"GetThreatByThreatID", 1).Object().Get() != nullptr, true);
    EXPECT_EQ(Call(Call(threats, L"GetThreatByThreatID", 1).Object(), L"ThreatName").Text(), "One");
    const Answer unknown = Call(threats, L"GetThreatByThreatID", 99);
    EXPECT_EQ(unknown.outcome, S_OK);
    EXPECT_EQ(unknown.value.Get().vt, VT_DISPATCH);
    EXPECT_FALSE(unknown.Object());
}

TEST_F(Classes, ADetectedThreatAtAPlaceThatIsNotThereFails) {
    const ComPtr<IDispatch> scan = New<kel::Scan>();
    for (const int place : {0, 1, -1}) {
        const Answer answer = Call(scan, L"GetDetectedThreat", place);
        EXPECT_EQ(answer.outcome, DISP_E_EXCEPTION);
        EXPECT_EQ(answer.error, static_cast<SCODE>(0x800A0009));
    }
    ComPtr<_Scan> early = scan.As<_Scan>();
    VARIANT result{};
    EXPECT_EQ(early->get_GetDetectedThreat(1, &result), static_cast<HRESULT>(0x800A0009));
}

TEST_F(Classes, DetectedThreatsAreFoundByPlaceAndKeyAndAreThemselves) {
    const ComPtr<IDispatch> scanner = Member(manager, L"Scanner");
    Assign(scanner, L"UserDataRootPath", UserFolder());
    EXPECT_TRUE(Call(scanner, L"InitializeScan").IsTrue());
    const ComPtr<IDispatch> scan = Member(scanner, L"Scan");
    ASSERT_TRUE(scan);
    WriteFile(Folder() + "bad.exe", "MZ");
    Call(scan, L"AddDetectedThreatFile", 2, 1, "", Folder() + "bad.exe");
    Call(scan, L"AddDetectedThreatRegKey", 3, 2, -2147483647 - 1 + 2, "software\\bad");
    EXPECT_EQ(Call(scan, L"DetectedThreatCount").Number(), 2);
    EXPECT_EQ(Call(scan, L"GetDetectedThreat", 1).Text(), "2|One");
    const ComPtr<IDispatch> detected = Member(scan, L"DetectedThreats");
    const ComPtr<IDispatch> byPlace = Call(detected, L"Item", 2).Object();
    ASSERT_TRUE(byPlace);
    EXPECT_EQ(byPlace.Get(), Call(detected, L"Item", "threatid:2").Object().Get());
    EXPECT_EQ(Call(Member(byPlace, L"Threat"), L"ThreatName").Text(), "Two");
    EXPECT_EQ(Call(Call(Member(byPlace, L"ThreatLocationRegKeys"), L"Item", 1).Object(), L"Regkey").Text(),
              "software\\bad");
    EXPECT_EQ(Call(detected, L"Item", 3).error, static_cast<SCODE>(0x800A0009));
    EXPECT_EQ(Call(detected, L"Item", "none").error, static_cast<SCODE>(0x800A0005));
}

TEST_F(Classes, ACallWithMoreNamesThanArgumentsIsRefused) {
    const ComPtr<IDispatch> made = New<kel::Manager>();
    DISPID put = DISPID_PROPERTYPUT;
    DISPPARAMS nothing{nullptr, &put, 0, 1};
    for (const WORD kind : {WORD{DISPATCH_METHOD}, WORD{DISPATCH_PROPERTYPUT}}) {
        EXPECT_EQ(made->Invoke(IdOf(made.Get(), L"UserName"), IID_NULL, LOCALE_USER_DEFAULT, kind, &nothing, nullptr,
                               nullptr, nullptr),
                  E_INVALIDARG);
    }
}

TEST_F(Classes, FolderPathsMayBeGivenOrLeftOut) {
    const ComPtr<IDispatch> scanner = Member(manager, L"Scanner");
    Assign(scanner, L"UserDataRootPath", UserFolder());
    Call(scanner, L"InitializeScan");
    EXPECT_EQ(Call(scanner, L"IsFolderThreat", "C:\\windows\\").outcome, S_OK);
    const ComPtr<IDispatch> paths = Member(Member(scanner, L"Scan"), L"FolderPaths");
    ASSERT_TRUE(paths);
    EXPECT_EQ(Call(paths, L"PathWindows").Text(), "c:\\windows\\");
    Variant variable = Given(paths);
    const Variant folder = Given("C:\\windows\\");
    const Answer answer = CallById(scanner.Get(), IdOf(scanner.Get(), L"IsFolderThreat"), DISPATCH_METHOD,
                                   {folder.Get(), Variable(variable)});
    EXPECT_EQ(answer.outcome, S_OK);
    EXPECT_EQ(answer.Number(), 0);
    EXPECT_EQ(variable.Get().pdispVal, paths.Get());
}

TEST_F(Classes, TheIdentifierInTheQuarantineComesBack) {
    const ComPtr<IDispatch> scanner = Member(manager, L"Scanner");
    Assign(scanner, L"UserDataRootPath", UserFolder());
    Call(scanner, L"InitializeScan");
    const ComPtr<IDispatch> scan = Member(scanner, L"Scan");
    WriteFile(Folder() + "bad.txt", "text");
    Call(scan, L"AddDetectedThreatFile", 2, 1, "", Folder() + "bad.txt");
    const ComPtr<IDispatch> cleaner = Member(manager, L"Cleaner");
    EXPECT_EQ(
        Call(cleaner, L"InitializeClean", Call(scan, L"ScanID").Text(), Member(scan, L"DetectedThreats")).Number(), 0);
    EXPECT_EQ(Member(cleaner, L"DetectedThreats").Get(), Member(scan, L"DetectedThreats").Get());
    Variant identifier;
    const Variant one = Given(1);
    const Variant kept = Given(false);
    const Answer answer = CallById(cleaner.Get(), IdOf(cleaner.Get(), L"QuarantineThreat"), DISPATCH_METHOD,
                                   {one.Get(), kept.Get(), Variable(identifier)});
    EXPECT_EQ(answer.outcome, S_OK);
    EXPECT_EQ(answer.Number(), 0);
    ASSERT_EQ(identifier.Get().vt, VT_BSTR);
    EXPECT_FALSE(Exists(Folder() + "bad.txt"));
    const ComPtr<IDispatch> quarantine = Member(manager, L"Quarantine");
    EXPECT_EQ(Call(quarantine, L"Count").Number(), 1);
    EXPECT_TRUE(Call(quarantine, L"QuarantineThreatIDExists", identifier).IsTrue());
    EXPECT_EQ(Call(quarantine, L"RestoreThreat", identifier).Number(), 0);
    EXPECT_EQ(ReadFile(Folder() + "bad.txt"), "text");
    EXPECT_EQ(Call(quarantine, L"RestoreThreat", identifier).Number(), 100);
}

TEST_F(Classes, HistoryHandsOutTheTableOfScans) {
    const ComPtr<IDispatch> scanner = Member(manager, L"Scanner");
    Assign(scanner, L"UserDataRootPath", UserFolder());
    Assign(scanner, L"optWriteHistory", true);
    Call(scanner, L"InitializeScan");
    EXPECT_TRUE(Call(scanner, L"RunScanEasy").IsTrue());
    const ComPtr<IDispatch> history = Member(manager, L"ScanHistory");
    EXPECT_EQ(Call(history, L"TotalScansRun").Number(), 1);
    EXPECT_EQ(Call(history, L"Count").Number(), 0);
    const std::string identifier = Call(Member(scanner, L"Scan"), L"ScanID").Text();
    EXPECT_EQ(Call(history, L"GetLastScanID").Text(), identifier);
    const ComPtr<IDispatch> detail = Member(history, L"GetLastScanHistoryDetail");
    ASSERT_TRUE(detail);
    EXPECT_EQ(Call(detail, L"ScanID").Text(), identifier);
    EXPECT_EQ(Call(detail, L"StartDate").value.Get().vt, VT_DATE);
    const ComPtr<IDispatch> table = Member(history, L"GetScanHistoryDetails");
    ASSERT_TRUE(table);
    EXPECT_EQ(Call(table, L"RecordCount").Number(), 1);
    EXPECT_EQ(Member(detail, L"DetectedThreats").Get(), Member(detail, L"DetThreatDetail").Get());
}

TEST_F(Classes, TheNumbersOfTheVersionGoInAndNothingComesOut) {
    const ComPtr<IDispatch> scanner = Member(manager, L"Scanner");
    Variant major = Given(5);
    EXPECT_EQ(CallById(scanner.Get(), IdOf(scanner.Get(), L"GetScannerVersion"), DISPATCH_METHOD,
                       {Variable(major), Given(6).Get(), Given(7).Get()})
                  .outcome,
              S_OK);
    EXPECT_EQ(major.Get().lVal, 5);
}

}  // namespace
}  // namespace kel::test
