#include <gmock/gmock.h>

#include <functional>

#include "QuarantineTest.h"
#include "decorators/FaultInjectingPlatform.h"
#include "decorators/ForwardingRegistry.h"
#include "quarantine/RestoreSpecial.h"
#include "support/StagedMachine.h"
#include "system/modFiles.h"
#include "system/modRegistry.h"

namespace kel::test {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;
using namespace std::string_literals;

// What is asked of the component servers.
class HeardComponents : public platform::Components {
public:
    std::vector<std::string> registered;
    platform::Result<std::int32_t> Register(std::string_view path) override {
        registered.emplace_back(path);
        return -1;
    }
    platform::Result<std::int32_t> Unregister(std::string_view) override { return 0; }
};

// What becomes of the changes of the registry as a whole.
class HeardRegistry : public decorators::ForwardingRegistry {
public:
    using ForwardingRegistry::ForwardingRegistry;
    std::function<void()> onCommit;
    platform::SysError answer = platform::SysError::Success;
    std::vector<std::string> calls;

    platform::SysError Commit() override {
        calls.emplace_back("commit");
        if (onCommit) {
            onCommit();
        }
        return answer;
    }
    void Discard() override { calls.emplace_back("discard"); }
};

class Restore : public QuarantineTest {
protected:
    Restore() : registry(*Machine().registry) { Install(Watched(Machine())); }
    ~Restore() override { Install(Machine()); }

    platform::Platform Watched(platform::Platform machine) {
        machine.components = &components;
        machine.registry = &registry;
        return machine;
    }

    /// Text of a value as it is stored, and its type before it; "none" without one.
    std::string ValueOf(const std::string& key, const std::string& name) {
        auto open = Machine().registry->Open(platform::HiveCurrentUser, key, platform::AccessMaximumAllowed);
        if (!open) {
            return "no key";
        }
        const auto value = (*open)->Query(name);
        return value ? std::to_string(static_cast<int>(value->type)) + ":" + value->data : "none";
    }
    std::string EventsText() {
        const std::string log = UserFolder() + "Events.log";
        return Exists(log) ? ReadFile(log) : std::string();
    }
    void ExpectItem(const FailureRecord& record, const std::string& text) {
        EXPECT_EQ(record.module, "Quarantine");
        EXPECT_EQ(record.procedure, "DestoryThreat");
        EXPECT_EQ(record.number, "0");
        EXPECT_THAT(record.description, StartsWith("ln "));
        EXPECT_THAT(record.description, EndsWith(":" + text));
    }

    HeardComponents components;
    HeardRegistry registry;
};

TEST_F(Restore, AnUnknownIdentifierIsRefusedAndNothingChanges) {
    AddThreat("A", 7);
    AddFile("A", "f1", Folder() + "evil.exe", Marked("evil"));
    EXPECT_EQ(store.RestoreThreat("B"), enQuarantineErrors::errInvalidThreatID);
    EXPECT_EQ(static_cast<int>(enQuarantineErrors::errInvalidThreatID), 100);
    EXPECT_EQ(RowsOf("A"), 2);
    EXPECT_TRUE(Exists(PathOf("A") + "f1"));
    EXPECT_FALSE(Exists(UserFolder() + "KelQuarantined.sdb")) << "nothing is saved";
    EXPECT_THAT(registry.calls, IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Restore, ARecordOfNoThreatIsRefused) {
    AddThreat("A", 0);
    EXPECT_EQ(store.RestoreThreat("A"), enQuarantineErrors::errInvalidThreatID);
    EXPECT_EQ(RowsOf("A"), 1);
}

TEST_F(Restore, AFileComesBackByteForByte) {
    AddThreat("A", 7);
    AddThreat("B", 8);
    AddFile("A", "f1", Folder() + "evil.exe", Marked("MZ\0evil\xFF"s));
    AddFile("B", "f1", Folder() + "other.exe", Marked("other"));
    EXPECT_EQ(store.RestoreThreat("A"), enQuarantineErrors::errNone);
    EXPECT_EQ(ReadFile(Folder() + "evil.exe"), "MZ\0evil\xFF"s);
    EXPECT_FALSE(Exists(PathOf("A")));
    EXPECT_EQ(RowsOf("A"), 0);
    EXPECT_EQ(SavedRowsOf("A"), 0);
    EXPECT_EQ(SavedRowsOf("B"), 2) << "the others stay";
    EXPECT_TRUE(Exists(PathOf("B") + "f1"));
    EXPECT_TRUE(Unfiltered());
    EXPECT_THAT(Reported(), IsEmpty());
    EXPECT_EQ(EventsText(), "");
}

TEST_F(Restore, WhatTheCleaningMoveMarkedComesBackByteForByte) {
    AddThreat("A", 7);
    const std::string original = Folder() + "evil.exe";
    const std::string bytes(70000, '6');
    WriteFile(original, bytes);
    ASSERT_EQ(modFiles::FileMove(original, PathOf("A") + "f1", modFiles::MoveAndMark), modFiles::Done);
    EXPECT_EQ(ReadFile(PathOf("A") + "f1"), Marked(bytes)) << "in the quarantine it differs";
    AddFile("A", "f1", original, "");
    EXPECT_EQ(store.RestoreThreat("A"), enQuarantineErrors::errNone);
    EXPECT_EQ(ReadFile(original), bytes);
}

TEST_F(Restore, ASecondRestoreIsRefused) {
    AddThreat("A", 7);
    AddFile("A", "f1", Folder() + "evil.exe", Marked("evil"));
    EXPECT_EQ(store.RestoreThreat("A"), enQuarantineErrors::errNone);
    EXPECT_EQ(store.RestoreThreat("A"), enQuarantineErrors::errInvalidThreatID);
    EXPECT_EQ(ReadFile(Folder() + "evil.exe"), "evil");
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Restore, TheFolderOfAFileIsMadeHoweverDeep) {
    AddThreat("A", 7);
    const std::string original = Folder() + "a\\b\\c\\d\\e\\f\\evil.exe";
    AddFile("A", "f1", original, Marked("evil"));
    EXPECT_EQ(store.RestoreThreat("A"), enQuarantineErrors::errNone);
    EXPECT_EQ(ReadFile(original), "evil");
}

TEST_F(Restore, RemovedFoldersAreMadeAgain) {
    AddThreat("A", 7);
    AddFolder("A", Folder() + "evil\\one");
    AddFolder("A", Folder() + "evil\\two\\three");
    EXPECT_EQ(store.RestoreThreat("A"), enQuarantineErrors::errNone);
    EXPECT_TRUE(modFiles::FolderExists(Folder() + "evil\\one"));
    EXPECT_TRUE(modFiles::FolderExists(Folder() + "evil\\two\\three"));
}

TEST_F(Restore, FoldersThatCannotBeMadeAreReportedAndTheRestComesBack) {
    AddThreat("A", 7);
    WriteFile(Folder() + "wall", "a file where a folder should be");
    AddFolder("A", Folder() + "wall\\one");
    AddFolder("A", Folder() + "two");
    AddFile("A", "f1", Folder() + "wall\\evil.exe", Marked("evil"));
    AddFile("A", "f2", Folder() + "other.exe", Marked("other"));
    EXPECT_EQ(store.RestoreThreat("A"), enQuarantineErrors::errRestoreFailed);
    EXPECT_EQ(static_cast<int>(enQuarantineErrors::errRestoreFailed), 300);
    EXPECT_TRUE(modFiles::FolderExists(Folder() + "two"));
    EXPECT_EQ(ReadFile(Folder() + "other.exe"), "other");
    ASSERT_THAT(Reported(), SizeIs(3));
    ExpectItem(Reported()[0], "Could not create folder for threat restore (" + Folder() + "wall\\one)");
    ExpectItem(Reported()[1], "Could not create folder for threat restore (" + Folder() + "wall\\)");
    ExpectItem(Reported()[2],
               "Could not move file for threat restore (" + PathOf("A") + "f1 To " + Folder() + "wall\\evil.exe)");
    EXPECT_EQ(SavedRowsOf("A"), 0) << "what came back only in part is forgotten too";
}

TEST_F(Restore, AFileWhoseTargetExistsFailsAndIsLost) {
    AddThreat("A", 7);
    WriteFile(Folder() + "evil.exe", "somebody else's");
    AddFile("A", "f1", Folder() + "evil.exe", Marked("evil"));
    EXPECT_EQ(store.RestoreThreat("A"), enQuarantineErrors::errRestoreFailed);
    EXPECT_EQ(ReadFile(Folder() + "evil.exe"), "somebody else's");
    EXPECT_FALSE(Exists(PathOf("A")));
    EXPECT_EQ(SavedRowsOf("A"), 0);
    ASSERT_THAT(Reported(), SizeIs(1));
    ExpectItem(Reported()[0],
               "Could not move file for threat restore (" + PathOf("A") + "f1 To " + Folder() + "evil.exe)");
}

TEST_F(Restore, AComponentServerIsRegisteredEvenWhenItDidNotComeBack) {
    AddThreat("A", 7);
    AddFile("A", "f1", Folder() + "first.dll", Marked("first"), true);
    AddFile("A", "f2", Folder() + "plain.dll", Marked("plain"));
    AddFile("A", "gone", Folder() + "second.dll", "", true);
    EXPECT_EQ(store.RestoreThreat("A"), enQuarantineErrors::errRestoreFailed);
    EXPECT_THAT(components.registered, ElementsAre(Folder() + "first.dll", Folder() + "second.dll"));
    EXPECT_THAT(Reported(), SizeIs(1)) << "what the registration answers does not count";
}

TEST_F(Restore, FilesComeBackInTheOrderOfTheRows) {
    AddThreat("A", 7);
    AddFile("A", "f1", Folder() + "same.dll", Marked("first row"), false, 9);
    AddFile("A", "f2", Folder() + "same.dll", Marked("second row"), false, 1);
    EXPECT_EQ(store.RestoreThreat("A"), enQuarantineErrors::errRestoreFailed);
    EXPECT_EQ(ReadFile(Folder() + "same.dll"), "first row");
}

TEST_F(Restore, ACookieKeepsTheMarkAndItsFolderIsNotMade) {
    AddThreat("A", 7);
    AddCookie("A", "c1", Folder() + "cookie.txt", Marked("cookie"));
    AddCookie("A", "c2", Folder() + "gone\\cookie.txt", Marked("cookie"));
    EXPECT_EQ(store.RestoreThreat("A"), enQuarantineErrors::errNone) << "cookies that fail are not looked at";
    EXPECT_EQ(ReadFile(Folder() + "cookie.txt"), Marked("cookie"));
    EXPECT_FALSE(Exists(Folder() + "gone"));
    EXPECT_EQ(SavedRowsOf("A"), 0);
}

TEST_F(Restore, RegistryValuesComeBackWithTheTypesThatCanBeWritten) {
    AddThreat("A", 7);
    const std::string key = Key() + "\\Evil\\Deep";
    AddRegKey("A", key, "text", "data", 1);
    AddRegKey("A", key, "number", "305", 4);
    AddRegKey("A", key, "several", "one", 7);
    AddRegKey("A", Key() + "\\Expanded", "path", "%windir%\\evil", 2);
    AddRegKey("A", Key() + "\\Binary", "bytes", "0A0B", 3);
    AddRegKey("A", Key() + "\\Untyped", "value", "data", 0);
    EXPECT_EQ(store.RestoreThreat("A"), enQuarantineErrors::errNone);
    EXPECT_THAT(ValueOf(key, "text"), StartsWith("1:data"));
    EXPECT_EQ(ValueOf(key, "number"), "4:\x31\x01\0\0"s) << "305 as four bytes";
    EXPECT_THAT(ValueOf(key, "several"), StartsWith("7:one"));
    EXPECT_EQ(ValueOf(Key() + "\\Expanded", "path"), "none");
    EXPECT_EQ(ValueOf(Key() + "\\Binary", "bytes"), "none");
    EXPECT_EQ(ValueOf(Key() + "\\Untyped", "value"), "none") << "the key comes back without its value";
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Restore, AValueWithoutDataComesBackEmpty) {
    AddThreat("A", 7);
    AddRegKey("A", Key() + "\\Evil", "text", "", 1);
    AddRegKey("A", Key() + "\\Evil", "number", "", 4);
    EXPECT_EQ(store.RestoreThreat("A"), enQuarantineErrors::errNone);
    EXPECT_EQ(ToText(modRegistry::GetRegistryValue(platform::HiveCurrentUser, Key() + "\\Evil", "text")), "");
    EXPECT_TRUE(modRegistry::RegValueExists(platform::HiveCurrentUser, Key() + "\\Evil", "text"));
    EXPECT_EQ(ValueOf(Key() + "\\Evil", "number"), "4:\0\0\0\0"s);
}

TEST_F(Restore, AKeyComesBackAndALocationWithoutAKeyIsSkipped) {
    AddThreat("A", 7);
    AddRegKey("A", "", "name", "data", 1);
    AddRegKey("A", Key() + "\\Evil\\Key", "", "left over", 1);
    EXPECT_EQ(store.RestoreThreat("A"), enQuarantineErrors::errNone);
    EXPECT_TRUE(modRegistry::RegKeyExists(platform::HiveCurrentUser, Key() + "\\Evil\\Key"));
    EXPECT_EQ(ValueOf(Key() + "\\Evil\\Key", ""), "none");
    EXPECT_FALSE(modRegistry::RegValueExists(platform::HiveCurrentUser, "", "name"));
}

TEST_F(Restore, TheLinesOfIniFilesStayBehindAndTheirRowsGo) {
    AddThreat("A", 7);
    AddSpecial("A", QSpecialTypeWinIniLine, "run=evil.exe");
    EXPECT_EQ(store.RestoreThreat("A"), enQuarantineErrors::errNone);
    EXPECT_EQ(RowsOf("A"), 0);
    EXPECT_EQ(SavedRowsOf("A"), 0);
}

TEST_F(Restore, AFolderThatIsGoneIsAnEventAndAFailure) {
    AddThreat("A", 7);
    AddRegKey("A", Key() + "\\Evil");
    RemoveTree(Machine(), PathOf("A"));
    EXPECT_EQ(store.RestoreThreat("A"), enQuarantineErrors::errRestoreFailed);
    EXPECT_THAT(EventsText(),
                StartsWith("32::ThreatID 7: failed to remove the quarantine folder " + PathOf("A") + ".::"));
    EXPECT_EQ(SavedRowsOf("A"), 0);
    EXPECT_TRUE(modRegistry::RegKeyExists(platform::HiveCurrentUser, Key() + "\\Evil"));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Restore, TheRegistryIsOnTheMediumBeforeItsRecordGoes) {
    AddThreat("A", 7);
    AddFile("A", "f1", Folder() + "evil.exe", Marked("evil"));
    AddRegKey("A", Key() + "\\Evil", "name", "data", 1);
    quarantine::SaveTables();
    std::int32_t saved = 0;
    bool folder = false;
    std::string value;
    registry.onCommit = [&] {
        saved = SavedRowsOf("A");
        folder = Exists(PathOf("A"));
        value = ValueOf(Key() + "\\Evil", "name");
    };
    EXPECT_EQ(store.RestoreThreat("A"), enQuarantineErrors::errNone);
    EXPECT_THAT(registry.calls, ElementsAre("discard", "commit")) << "what others left open is not committed";
    EXPECT_EQ(saved, 3);
    EXPECT_TRUE(folder);
    EXPECT_THAT(value, StartsWith("1:data"));
}

TEST_F(Restore, ARegistryThatCannotBeCommittedKeepsTheRecord) {
    AddThreat("A", 7);
    AddFile("A", "f1", Folder() + "evil.exe", Marked("evil"));
    AddRegKey("A", Key() + "\\Evil");
    quarantine::SaveTables();
    registry.answer = platform::SysError::DiskFull;
    EXPECT_EQ(store.RestoreThreat("A"), enQuarantineErrors::errRestoreFailed);
    ExpectReport("RestoreThreat", "61");
    EXPECT_THAT(registry.calls, ElementsAre("discard", "commit", "discard"))
        << "nothing of it may reach the medium later";
    EXPECT_EQ(RowsOf("A"), 3);
    EXPECT_EQ(SavedRowsOf("A"), 3);
    EXPECT_TRUE(Exists(PathOf("A")));
}

TEST_F(Restore, ATrappedFailureEndsItWhereItStands) {
    AddThreat("A", 7);
    AddFile("A", "f1", Folder() + "evil.exe", Marked("evil"));
    quarantine::Opened(quarantine::RegKeys).Close();
    EXPECT_EQ(store.RestoreThreat("A"), enQuarantineErrors::errInvalidThreatID) << "the record can't be read";
    ExpectReport("GetQuarantineThreat", "3704");
    EXPECT_TRUE(Exists(PathOf("A") + "f1"));

    quarantine::Opened(quarantine::RegKeys).AppendField("QThreatID", FieldType::VarChar, 30);
    quarantine::Opened(quarantine::RegKeys).Open();
    quarantine::Opened(quarantine::Specials).Close();
    EXPECT_EQ(store.RestoreThreat("A"), enQuarantineErrors::errRestoreFailed);
    ASSERT_THAT(Reported(), SizeIs(2));
    EXPECT_EQ(Reported()[1].procedure, "RestoreThreat");
    EXPECT_EQ(Reported()[1].number, "3704");
    EXPECT_EQ(ReadFile(Folder() + "evil.exe"), "evil") << "steps before it are done";
    EXPECT_FALSE(Exists(UserFolder() + "KelQuarantined.sdb")) << "nothing is saved";
}

TEST_F(Restore, OnAMachineThatStopsAtAnyWriteTheFileIsInPlaceOrOnRecord) {
    constexpr std::uint64_t enough = 1000;
    std::uint64_t stop = 1;
    for (bool stopped = true; stopped && stop < enough; ++stop) {
        for (const quarantine::Table* table : quarantine::Tables) {
            Machine().files->Remove(quarantine::PathOf(*table));
        }
        quarantine::OpenTables();
        const std::string id = "T" + std::to_string(stop);
        const std::string original = Folder() + id + "\\evil.exe";
        AddThreat(id, 7);
        AddFile(id, "f1", original, Marked("evil"));
        AddRegKey(id, Key() + "\\Evil", "name", "data", 1);
        quarantine::SaveTables();

        decorators::FaultInjectingPlatform faults(Machine());
        faults.FailWritesFrom(stop, platform::SysError::DiskFull);
        Install(faults.View());
        (void)store.RestoreThreat(id);
        Install(Machine());
        stopped = faults.Writes() >= stop;

        if (!Exists(original)) {
            EXPECT_EQ(ReadFile(PathOf(id) + "f1"), Marked("evil")) << "stopped at write " << stop;
            EXPECT_EQ(SavedRowsOf(id), 3) << "stopped at write " << stop;
        }
    }
    EXPECT_GT(stop, 10U);
    EXPECT_LT(stop, enough);
}

TEST_F(Restore, WhatWasRemovedWithoutASavedRecordIsNotCommittedWithIt) {
    if (Machine().can.live) {
        GTEST_SKIP() << "on a live machine every change is made at once";
    }
    Install(Machine());
    modRegistry::SetRegistryValue(platform::HiveCurrentUser, Key(), "other", "kept"s, 1);
    quarantine::CommitRegistry();
    modRegistry::DeleteRegistryValue(platform::HiveCurrentUser, Key(), "other");
    AddThreat("A", 7);
    AddRegKey("A", Key() + "\\Evil", "name", "data", 1);
    EXPECT_EQ(store.RestoreThreat("A"), enQuarantineErrors::errNone);
    Machine().registry->Discard();
    EXPECT_THAT(ValueOf(Key(), "other"), StartsWith("1:kept"));
    EXPECT_THAT(ValueOf(Key() + "\\Evil", "name"), StartsWith("1:data")) << "what came back was committed";
}

class RestoredLine : public EngineTest {
protected:
    RestoredLine() : stage_(Machine(), Key() + "\\Stage") {
        MakeFolder(Folder() + "windows");
        stage_.Folders()[FolderWindows] = Folder() + "windows";
        Install(stage_.View());
    }
    ~RestoredLine() override { Install(Machine()); }

    [[nodiscard]] std::string WinIni() const { return Folder() + "windows\\win.ini"; }
    [[nodiscard]] std::string SystemIni() const { return Folder() + "windows\\system.ini"; }
    static void Bring(enQSpecialType type, const std::string& line) {
        QThreatLocationSpecial special;
        special.QSpecialType = type;
        special.Data1 = line;
        quarantine::RestoreSpecial(special);
    }
    void SetReadOnly(const std::string& path) { Machine().files->SetAttributes(path, platform::AttributeReadOnly); }
    bool IsReadOnly(const std::string& path) {
        return (Machine().files->Attributes(path).ValueOr(0) & platform::AttributeReadOnly) != 0;
    }

private:
    StagedMachine stage_;
};

TEST_F(RestoredLine, IsAppendedToItsOwnFile) {
    WriteFile(WinIni(), "[windows]\r\nload=\r\n");
    WriteFile(SystemIni(), "[boot]\r\n");
    Bring(QSpecialTypeWinIniLine, "run=evil.exe");
    EXPECT_EQ(ReadFile(WinIni()), "[windows]\r\nload=\r\n\r\nrun=evil.exe\r\n");
    EXPECT_EQ(ReadFile(SystemIni()), "[boot]\r\n");
    Bring(QSpecialTypeSystemIniLine, "shell=evil.exe");
    EXPECT_EQ(ReadFile(SystemIni()), "[boot]\r\n\r\nshell=evil.exe\r\n");
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(RestoredLine, ThatIsThereIsNotWrittenAgain) {
    WriteFile(WinIni(), "[windows]\nrun=evil.exe");
    Bring(QSpecialTypeWinIniLine, "run=evil.exe");
    Bring(QSpecialTypeWinIniLine, "");
    EXPECT_EQ(ReadFile(WinIni()), "[windows]\nrun=evil.exe");
}

TEST_F(RestoredLine, IsNotWrittenToAFileThatIsEmptyOrMissing) {
    WriteFile(WinIni(), "");
    Bring(QSpecialTypeWinIniLine, "run=evil.exe");
    Bring(QSpecialTypeSystemIniLine, "shell=evil.exe");
    EXPECT_EQ(ReadFile(WinIni()), "");
    EXPECT_FALSE(Exists(SystemIni()));
}

TEST_F(RestoredLine, OfNoFileIsPassedOver) {
    WriteFile(WinIni(), "[windows]\r\n");
    Bring(QSpecialTypeNone, "run=evil.exe");
    EXPECT_EQ(ReadFile(WinIni()), "[windows]\r\n");
}

TEST_F(RestoredLine, ForWinIniMakesSystemIniWritableInstead) {
    WriteFile(WinIni(), "[windows]\r\n");
    WriteFile(SystemIni(), "[boot]\r\n");
    SetReadOnly(WinIni());
    SetReadOnly(SystemIni());
    Bring(QSpecialTypeWinIniLine, "run=evil.exe");
    EXPECT_FALSE(IsReadOnly(SystemIni()));
    EXPECT_TRUE(IsReadOnly(WinIni()));
    // Where the emulator runs with all rights it writes to read-only files.
    if (!Machine().can.live) {
        EXPECT_EQ(ReadFile(WinIni()), "[windows]\r\n") << "it could not be written";
    }
    Machine().files->SetAttributes(WinIni(), platform::AttributeNormal);
}

TEST_F(RestoredLine, ForSystemIniMakesThatWritable) {
    WriteFile(SystemIni(), "[boot]\r\n");
    SetReadOnly(SystemIni());
    Bring(QSpecialTypeSystemIniLine, "shell=evil.exe");
    EXPECT_EQ(ReadFile(SystemIni()), "[boot]\r\n\r\nshell=evil.exe\r\n");
}

class Destroy : public Restore {};

TEST_F(Destroy, TheFolderAndTheRowsGo) {
    AddThreat("A", 7);
    AddThreat("B", 8);
    AddFile("A", "f1", Folder() + "evil.exe", Marked("evil"));
    AddCookie("A", "c1", Folder() + "cookie.txt", "cookie");
    AddFolder("A", Folder() + "evil");
    AddRegKey("A", Key() + "\\Evil");
    AddSpecial("A", QSpecialTypeWinIniLine, "run=evil.exe");
    EXPECT_TRUE(store.DestroyThreat("A"));
    EXPECT_FALSE(Exists(PathOf("A")));
    EXPECT_FALSE(Exists(Folder() + "evil.exe"));
    EXPECT_FALSE(modRegistry::RegKeyExists(platform::HiveCurrentUser, Key() + "\\Evil"));
    EXPECT_EQ(RowsOf("A"), 0);
    EXPECT_EQ(SavedRowsOf("A"), 0);
    EXPECT_EQ(SavedRowsOf("B"), 1);
    EXPECT_TRUE(Exists(PathOf("B")));
    EXPECT_TRUE(Unfiltered());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Destroy, AFolderThatIsGoneAnswersFalseAndTheRowsGoAllTheSame) {
    AddThreat("A", 7);
    AddFile("A", "f1", Folder() + "evil.exe", "");
    RemoveTree(Machine(), PathOf("A"));
    EXPECT_FALSE(store.DestroyThreat("A"));
    EXPECT_EQ(RowsOf("A"), 0);
    EXPECT_EQ(SavedRowsOf("A"), 0);
    EXPECT_THAT(EventsText(),
                StartsWith("32::ThreatID 7: failed to remove the quarantine folder " + PathOf("A") + ".::"));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Destroy, AnUnknownIdentifierIsAFailure) {
    AddThreat("A", 7);
    EXPECT_FALSE(store.DestroyThreat("B"));
    ExpectReport("DestoryThreat", "3021");
    EXPECT_EQ(RowsOf("A"), 1);
    EXPECT_FALSE(Exists(UserFolder() + "KelQuarantined.sdb"));
    EXPECT_TRUE(Unfiltered());
}

TEST_F(Destroy, TablesThatCannotBeSavedAnswerFalse) {
    AddThreat("A", 7);
    quarantine::SaveTables();
    decorators::FaultInjectingPlatform faults(Machine());
    faults.Lock(UserFolder() + "KelQFiles.sdb");
    Install(Watched(faults.View()));
    EXPECT_FALSE(store.DestroyThreat("A"));
    Install(Watched(Machine()));
    ExpectReport("DestoryThreat", "70");
    EXPECT_EQ(RowsOf("A"), 0);
}

}  // namespace
}  // namespace kel::test
