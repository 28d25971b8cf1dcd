// The platform for dry runs: what it tells, and what it shows afterwards. That it answers as a machine does is shown by
// the conformance suite, which runs over it too.
#include "decorators/DryRunPlatform.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "decorators/FaultInjectingPlatform.h"
#include "decorators/ForwardingFiles.h"
#include "decorators/ForwardingSystem.h"
#include "support/FakeProcess.h"
#include "support/FakeServices.h"
#include "support/MachineSnapshot.h"
#include "support/ScratchMachine.h"

namespace kel::test {
namespace {

using decorators::DryRunPlatform;
using decorators::FaultInjectingPlatform;
using decorators::SwallowedWrite;
using decorators::WriteKind;
using platform::HiveClassesRoot;
using platform::HiveCurrentUser;
using platform::HiveLocalMachine;
using platform::HiveUsers;
using platform::OpenMode;
using platform::Platform;
using platform::Result;
using platform::SysError;
using platform::ValueType;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using namespace std::string_literals;

class DryRun : public ::testing::Test {
protected:
    DryRun() {
        WriteFile(real_, Path("file"), "content");
        MakeFolder(real_, Path("folder\\sub"));
        WriteFile(real_, Path("folder\\a.txt"), "a");
        WriteFile(real_, Path("folder\\sub\\Long File Name.extension"), "b");
        auto key = real_.registry->Create(HiveCurrentUser, Key("key\\sub"));
        EXPECT_TRUE(key.Ok());
        EXPECT_EQ((*key)->Set("name", ValueType::Sz, "text\0"s), SysError::Success);
        EXPECT_EQ(real_.registry->Commit(), SysError::Success);
        before_ = Snapshot();
    }
    ~DryRun() override {
        EXPECT_EQ(Snapshot(), before_);
        EXPECT_EQ(counted_.Writes(), 0U);
    }

    [[nodiscard]] std::string Path(std::string_view name) const { return machine_.Folder() + std::string(name); }
    [[nodiscard]] std::string Key(std::string_view name) const { return machine_.Key() + "\\" + std::string(name); }
    [[nodiscard]] std::vector<std::string> Texts() const {
        std::vector<std::string> texts;
        for (const SwallowedWrite& write : writes_) {
            texts.push_back(write.text);
        }
        return texts;
    }
    [[nodiscard]] std::vector<std::string> Names(std::string_view pattern) const {
        std::vector<std::string> names;
        platform::FindData entry;
        auto find = view_.files->FindFirst(Path(pattern), entry);
        for (SysError error = find.Error(); error == SysError::Success; error = (*find)->Next(entry)) {
            if (entry.name != "." && entry.name != "..") {
                names.push_back(entry.name);
            }
        }
        return names;
    }
    [[nodiscard]] std::string Value(platform::Hive hive, const std::string& key, const std::string& name) const {
        const auto open = view_.registry->Open(hive, key);
        const auto value = open ? (*open)->Query(name) : open.Error();
        return value ? value->data.substr(0, value->data.find('\0')) : "absent";
    }
    void SetValue(platform::Hive hive, const std::string& key, const std::string& name, const std::string& data) {
        const auto open = view_.registry->Create(hive, key);
        ASSERT_TRUE(open.Ok()) << key;
        EXPECT_EQ((*open)->Set(name, ValueType::Sz, data + '\0'), SysError::Success);
    }

    std::vector<SwallowedWrite> writes_;

private:
    [[nodiscard]] std::vector<std::string> Snapshot() const {
        std::vector<std::string> lines = SnapshotOfFiles(real_, machine_.Folder());
        for (std::string& line : SnapshotOfKeys(real_, HiveCurrentUser, machine_.Key())) {
            lines.push_back(std::move(line));
        }
        return lines;
    }

    ScratchMachine machine_;

protected:
    Platform real_{machine_.View()};

private:
    std::vector<std::string> before_;
    FaultInjectingPlatform counted_{real_};
    DryRunPlatform dryRun_{counted_.View(), [this](const SwallowedWrite& write) { writes_.push_back(write); }};

protected:
    Platform view_{dryRun_.View()};
};

TEST_F(DryRun, TellsEachChangeOfFilesOnceInOrder) {
    platform::Files& files = *view_.files;
    EXPECT_TRUE(view_.can.writable);
    EXPECT_EQ(files.SetAttributes(Path("file"), platform::AttributeHidden), SysError::Success);
    EXPECT_EQ(files.Rename(Path("file"), Path("folder\\moved")), SysError::Success);
    EXPECT_EQ(files.MakeFolder(Path("new")), SysError::Success);
    EXPECT_EQ(files.Rename(Path("folder"), Path("new\\folder")), SysError::Success);
    EXPECT_EQ(files.Remove(Path("new\\folder\\a.txt")), SysError::Success);
    SysError error = SysError::Success;
    EXPECT_EQ(view_.shell->Delete(Path("new\\folder"), 20, error), 0);
    EXPECT_EQ(files.RemoveFolder(Path("new")), SysError::Success);
    EXPECT_THAT(
        Texts(),
        ElementsAre("set attributes of " + Path("file") + " to 2",
                    "move file " + Path("file") + " to " + Path("folder\\moved"), "make folder " + Path("new"),
                    "move folder " + Path("folder") + " to " + Path("new\\folder"),
                    "delete file " + Path("new\\folder\\a.txt"),
                    "delete folder " + Path("new\\folder") + " with its contents", "delete folder " + Path("new")));
    EXPECT_EQ(writes_[1].kind, WriteKind::FileMoved);
    EXPECT_EQ(writes_[1].target, Path("file"));
    EXPECT_EQ(writes_[1].other, Path("folder\\moved"));
    EXPECT_THAT(Names("*"), IsEmpty());
}

TEST_F(DryRun, WhatFailsIsNotTold) {
    platform::Files& files = *view_.files;
    EXPECT_EQ(files.Remove(Path("missing")), SysError::FileNotFound);
    EXPECT_EQ(files.RemoveFolder(Path("folder")), SysError::DirNotEmpty);
    EXPECT_EQ(files.Rename(Path("file"), Path("folder\\a.txt")), SysError::AlreadyExists);
    EXPECT_EQ(files.MakeFolder(Path("none\\x")), SysError::PathNotFound);
    EXPECT_EQ(files.Open(Path("none\\x"), OpenMode::Create).Error(), SysError::PathNotFound);
    EXPECT_EQ(view_.registry->RemoveKey(HiveCurrentUser, Key("key")), SysError::AccessDenied);
    EXPECT_EQ(view_.registry->RemoveKey(HiveCurrentUser, Key("none")), SysError::FileNotFound);
    EXPECT_TRUE(view_.registry->Create(HiveCurrentUser, Key("key")).Ok()) << "one that is there is opened";
    EXPECT_THAT(Texts(), IsEmpty());
}

TEST_F(DryRun, TellsOfAnOpenFileOnce) {
    {
        const auto made = view_.files->Open(Path("made"), OpenMode::Create);
        ASSERT_TRUE(made.Ok());
        for (int count = 0; count < 3; ++count) {
            EXPECT_EQ((*made)->Write(std::as_bytes(std::span("x", 1))), SysError::Success);
        }
        const auto unwritten = view_.files->Open(Path("file"), OpenMode::ReadWrite);
        ASSERT_TRUE(unwritten.Ok());
        const auto appended = view_.files->Open(Path("file"), OpenMode::Append);
        ASSERT_TRUE(appended.Ok());
        EXPECT_EQ((*appended)->Write(std::as_bytes(std::span("!", 1))), SysError::Success);
        EXPECT_EQ((*appended)->Write(std::as_bytes(std::span("!", 1))), SysError::Success);
    }
    EXPECT_THAT(Texts(), ElementsAre("make file " + Path("made"), "write to file " + Path("file")));
    EXPECT_EQ(ReadFile(view_, Path("made")), "xxx");
    EXPECT_EQ(ReadFile(view_, Path("file")), "content!!");
    WriteFile(view_, Path("file"), "");
    EXPECT_EQ(Texts().back(), "make file " + Path("file")) << "emptied";
    EXPECT_EQ(ReadFile(view_, Path("file")), "");
}

TEST_F(DryRun, AMovedFolderShowsWhatTheMachineHasInIt) {
    ASSERT_EQ(view_.files->Rename(Path("folder"), Path("moved")), SysError::Success);
    EXPECT_THAT(Names("*"), ElementsAre("file", "moved"));
    EXPECT_THAT(Names("moved\\*"), ElementsAre("a.txt", "sub"));
    EXPECT_EQ(ReadFile(view_, Path("moved\\sub\\Long File Name.extension")), "b");
    EXPECT_EQ(view_.files->LongPath(Path("MOVED\\SUB\\long file name.EXTENSION")).ValueOr(""),
              Path("moved\\sub\\Long File Name.extension"));
    EXPECT_FALSE(view_.files->PathExists(Path("folder\\a.txt")));
    EXPECT_EQ(view_.files->Attributes(Path("folder\\a.txt")).Error(), SysError::PathNotFound);
    ASSERT_EQ(view_.files->Remove(Path("moved\\sub\\Long File Name.extension")), SysError::Success);
    EXPECT_THAT(Names("moved\\sub\\*"), IsEmpty());
    ASSERT_EQ(view_.files->Rename(Path("moved"), Path("folder")), SysError::Success);
    EXPECT_THAT(Names("folder\\*"), ElementsAre("a.txt", "sub"));
    EXPECT_THAT(Names("folder\\sub\\*"), IsEmpty());
}

TEST_F(DryRun, AFolderDoesNotGoIntoItself) {
    EXPECT_NE(view_.files->Rename(Path("folder"), Path("folder\\sub\\again")), SysError::Success);
    EXPECT_TRUE(view_.files->PathExists(Path("folder\\sub")));
}

TEST_F(DryRun, AFileThatIsMadeAgainHasNothingOfTheOldOne) {
    ASSERT_EQ(view_.files->SetAttributes(Path("file"), platform::AttributeHidden), SysError::Success);
    ASSERT_EQ(view_.files->Remove(Path("file")), SysError::Success);
    EXPECT_EQ(view_.files->Open(Path("file"), OpenMode::Read).Error(), SysError::FileNotFound);
    EXPECT_EQ(view_.files->View(Path("file")).Error(), SysError::FileNotFound);
    WriteFile(view_, Path("FILE"), "new");
    EXPECT_EQ(ReadFile(view_, Path("file")), "new");
    EXPECT_EQ(view_.files->Attributes(Path("file")).ValueOr(0) & platform::AttributeHidden, 0U);
    EXPECT_THAT(Names("f*"), ElementsAre("FILE", "folder"));
}

TEST_F(DryRun, ShortNamesOfTheMachineLeadToWhatWasChanged) {
    const std::string whole = Path("folder\\sub\\Long File Name.extension");
    const std::string shortPath = real_.files->ShortPath(whole).ValueOr("");
    ASSERT_NE(shortPath, whole);
    WriteFile(view_, shortPath, "changed");
    EXPECT_EQ(ReadFile(view_, whole), "changed");
    ASSERT_EQ(view_.files->Remove(shortPath), SysError::Success);
    EXPECT_FALSE(view_.files->PathExists(whole));
    EXPECT_FALSE(view_.files->PathExists(shortPath));
}

TEST_F(DryRun, AListingOfNamesTellsTheShortOnesOfAChangedFolderToo) {
    const std::string pattern = Path("folder\\sub\\Long*");
    platform::FindData entry;
    ASSERT_TRUE(real_.files->FindFirst(pattern, entry).Ok());
    const std::string wanted = entry.alternateName;
    ASSERT_NE(wanted, "");
    WriteFile(view_, Path("folder\\sub\\new"), "x");
    const auto find = view_.files->FindNames(pattern, entry);
    ASSERT_TRUE(find.Ok());
    EXPECT_EQ((*find)->AlternateName(entry), wanted);
}

TEST_F(DryRun, TwoNewLongNamesHaveTwoShortOnes) {
    WriteFile(view_, Path("A long name.text"), "1");
    WriteFile(view_, Path("A long nature.text"), "2");
    const std::string first = view_.files->ShortPath(Path("A long name.text")).ValueOr("");
    const std::string second = view_.files->ShortPath(Path("A long nature.text")).ValueOr("");
    EXPECT_NE(first, second);
    EXPECT_EQ(ReadFile(view_, first), "1");
    EXPECT_EQ(ReadFile(view_, second), "2");
}

TEST_F(DryRun, ManyWritesIntoABigFileComeTogether) {
    std::string wanted(300'000, '\0');
    for (std::size_t index = 0; index < wanted.size(); ++index) {
        wanted[index] = static_cast<char>(index * 13 + index / 4096);
    }
    WriteFile(view_, Path("big"), wanted);
    for (const std::size_t at : {std::size_t{0}, std::size_t{4090}, std::size_t{8192}, std::size_t{299'990}}) {
        auto file = view_.files->Open(Path("big"), OpenMode::ReadWrite);
        ASSERT_TRUE(file.Ok());
        EXPECT_EQ((*file)->Seek(at), SysError::Success);
        EXPECT_EQ((*file)->Write(std::as_bytes(std::span("0123456789", 10))), SysError::Success);
        wanted.replace(at, 10, "0123456789");
    }
    EXPECT_EQ(ReadFile(view_, Path("big")), wanted);
    auto file = view_.files->Open(Path("big"), OpenMode::ReadWrite);
    ASSERT_TRUE(file.Ok());
    EXPECT_EQ((*file)->Seek(5000), SysError::Success);
    EXPECT_EQ((*file)->SetEnd(), SysError::Success);
    EXPECT_EQ((*file)->Seek(9000), SysError::Success);
    EXPECT_EQ((*file)->SetEnd(), SysError::Success);
    EXPECT_EQ(ReadFile(view_, Path("big")), wanted.substr(0, 5000) + std::string(4000, '\0'));
}

TEST_F(DryRun, WhatIsReadAheadIsNeverTakenForAWrittenFile) {
    // Over the machine itself: with faults nothing is read ahead.
    const DryRunPlatform dryRun(real_, {});
    const Platform view = dryRun.View();
    const bool ahead = real_.files->Stamp(Path("file")).Ok();
    EXPECT_EQ(view.files->Stamp(Path("file")).Ok(), ahead) << "as long as nothing was written, as fast as the machine";
    EXPECT_EQ(view.files->Ahead(Path("folder")) != nullptr, real_.files->Ahead(Path("folder")) != nullptr);
    WriteFile(view, Path("file"), "new");
    EXPECT_EQ(view.files->Stamp(Path("file")).Error(), SysError::NotSupported);
    EXPECT_EQ(view.files->Ahead(Path("")), nullptr);
    EXPECT_EQ(view.files->Stamp(Path("folder\\a.txt")).Ok(), ahead) << "untouched";
    ASSERT_EQ(view.files->Remove(Path("folder\\a.txt")), SysError::Success);
    EXPECT_EQ(view.files->Stamp(Path("folder\\a.txt")).Error(), SysError::FileNotFound);
}

TEST_F(DryRun, TellsEachChangeOfTheRegistryOnceInOrder) {
    const std::string shown = "HKEY_CURRENT_USER\\" + Key("key");
    SetValue(HiveCurrentUser, Key("key\\new\\deep"), "v", "1");
    {
        const auto key = view_.registry->Open(HiveCurrentUser, Key("key\\sub"));
        ASSERT_TRUE(key.Ok());
        EXPECT_EQ((*key)->RemoveValue("name"), SysError::Success);
        EXPECT_EQ((*key)->RemoveValue("name"), SysError::FileNotFound);
    }
    EXPECT_EQ(view_.registry->RemoveKey(HiveCurrentUser, Key("key\\sub")), SysError::Success);
    EXPECT_THAT(Texts(),
                ElementsAre("make key " + shown + "\\new\\deep", "set value \"v\" of key " + shown + "\\new\\deep",
                            "delete value \"name\" of key " + shown + "\\sub", "delete key " + shown + "\\sub"));
    EXPECT_EQ(writes_[1].kind, WriteKind::ValueSet);
    EXPECT_EQ(writes_[1].other, "v");
    EXPECT_EQ(view_.registry->Open(HiveCurrentUser, Key("key\\sub")).Error(), SysError::FileNotFound);
    EXPECT_EQ(Value(HiveCurrentUser, Key("key\\new\\deep"), "v"), "1");
}

TEST_F(DryRun, AKeyThatIsMadeAgainHasNothingOfTheOldOne) {
    ASSERT_EQ(view_.registry->RemoveKey(HiveCurrentUser, Key("key\\sub")), SysError::Success);
    ASSERT_EQ(view_.registry->RemoveKey(HiveCurrentUser, Key("key")), SysError::Success);
    EXPECT_EQ(view_.registry->Open(HiveCurrentUser, Key("key\\sub")).Error(), SysError::FileNotFound);
    ASSERT_TRUE(view_.registry->Create(HiveCurrentUser, Key("key\\SUB")).Ok());
    const auto key = view_.registry->Open(HiveCurrentUser, Key("key"));
    ASSERT_TRUE(key.Ok());
    EXPECT_EQ((*key)->EnumKey(0).ValueOr(""), "SUB");
    EXPECT_EQ((*key)->EnumKey(1).Error(), SysError::NoMoreItems);
    EXPECT_EQ(Value(HiveCurrentUser, Key("key\\sub"), "name"), "absent");
}

TEST_F(DryRun, ChangedValuesKeepTheirPlaceInAnEnumeration) {
    SetValue(HiveCurrentUser, Key("key\\sub"), "second", "2");
    SetValue(HiveCurrentUser, Key("key\\sub"), "NAME", "1");
    const auto key = view_.registry->Open(HiveCurrentUser, Key("key\\sub"));
    ASSERT_TRUE(key.Ok());
    EXPECT_EQ((*key)->EnumValue(0).ValueOr({}).name, "name");
    EXPECT_EQ((*key)->EnumValue(0).ValueOr({}).value.data, "1\0"s);
    EXPECT_EQ((*key)->EnumValue(1).ValueOr({}).name, "second");
    EXPECT_EQ((*key)->EnumValue(2).Error(), SysError::NoMoreItems);
}

TEST_F(DryRun, ClassesAreSeenUnderBothTheirNames) {
    SetValue(HiveLocalMachine, "Software\\Classes\\.keldry", "", "machine");
    EXPECT_EQ(Value(HiveClassesRoot, ".keldry", ""), "machine");
    SetValue(HiveClassesRoot, ".keldry", "", "other");
    EXPECT_EQ(Value(HiveLocalMachine, "Software\\Classes\\.keldry", ""), "other");
    EXPECT_EQ(writes_.back().target, "HKEY_CLASSES_ROOT\\.keldry") << "told as it was asked for";
    ASSERT_EQ(view_.registry->RemoveKey(HiveClassesRoot, ".keldry"), SysError::Success);
    EXPECT_EQ(view_.registry->Open(HiveLocalMachine, "Software\\Classes\\.keldry").Error(), SysError::FileNotFound);
}

TEST_F(DryRun, TheCurrentUserIsSeenAmongTheUsersToo) {
    std::string user;
    const auto users = view_.registry->Open(HiveUsers, "");
    for (std::uint32_t index = 0; users && user.empty(); ++index) {
        const auto name = (*users)->EnumKey(index);
        ASSERT_TRUE(name.Ok()) << "no user";
        if (name->starts_with("S-1-5-21-") && !name->ends_with("_Classes")) {
            user = *name;
        }
    }
    ASSERT_EQ(view_.registry->RemoveKey(HiveUsers, user + "\\" + Key("key\\sub")), SysError::Success);
    EXPECT_EQ(view_.registry->Open(HiveCurrentUser, Key("key\\sub")).Error(), SysError::FileNotFound);
    SetValue(HiveCurrentUser, Key("key"), "v", "1");
    EXPECT_EQ(Value(HiveUsers, user + "\\" + Key("key"), "v"), "1");
}

TEST_F(DryRun, WhatWasNotCommittedIsForgottenOnAMachineThatDoesNotRun) {
    SetValue(HiveCurrentUser, Key("key"), "kept", "1");
    EXPECT_EQ(view_.registry->Commit(), SysError::Success);
    SetValue(HiveCurrentUser, Key("key"), "lost", "1");
    const auto open = view_.registry->Open(HiveCurrentUser, Key("key"));
    view_.registry->Discard();
    view_.registry->Discard();
    EXPECT_EQ(view_.registry->Commit(), SysError::Success);
    EXPECT_EQ(Value(HiveCurrentUser, Key("key"), "kept"), "1");
    if (view_.can.live) {
        EXPECT_EQ(Value(HiveCurrentUser, Key("key"), "lost"), "1");
        EXPECT_THAT(writes_, ::testing::SizeIs(2));
        return;
    }
    EXPECT_EQ(Value(HiveCurrentUser, Key("key"), "lost"), "absent");
    EXPECT_EQ((*open)->Query("kept").Error(), SysError::KeyDeleted) << "as the machine has it";
    ASSERT_THAT(writes_, ::testing::SizeIs(4));
    EXPECT_EQ(writes_[1].text, "commit the registry");
    EXPECT_EQ(writes_[3].kind, WriteKind::RegistryDiscarded);
}

// Operations that a machine has which runs, over fakes.

class MadeProcesses : public decorators::ForwardingProcesses {
public:
    using ForwardingProcesses::ForwardingProcesses;
    std::vector<std::string> changes;

    Result<std::vector<platform::ProcessEntry>> Snapshot() override {
        return std::vector<platform::ProcessEntry>{{4, 0, "system"}, {8, 4, "plain.exe"}, {12, 8, "child.exe"}};
    }
    Result<std::vector<platform::ThreadEntry>> SnapshotThreads(std::uint32_t) override {
        return std::vector<platform::ThreadEntry>{{1, 4}, {2, 8}, {3, 12}, {5, 12}};
    }
    Result<std::vector<std::uint32_t>> Identifiers(std::uint32_t most) override {
        std::vector<std::uint32_t> all{4, 8, 12};
        all.resize(std::min<std::size_t>(most, all.size()));
        return all;
    }
    SysError CanOpen(std::uint32_t, std::uint32_t) override { return SysError::Success; }
    Result<std::unique_ptr<platform::Process>> Open(std::uint32_t, std::uint32_t) override {
        return FakeProcess::Make([this](std::uint32_t) {
            changes.emplace_back("end");
            return SysError::Success;
        });
    }
    SysError EndThread(std::uint32_t, std::uint32_t, std::uint32_t) override {
        changes.emplace_back("thread");
        return SysError::Success;
    }
};

class DryRunOfRunningMachine : public ::testing::Test {
protected:
    DryRunOfRunningMachine() {
        inner_.processes = &processes_;
        inner_.services = &services_;
        // Nothing below may be asked, so there is nothing.
        inner_.internet = nullptr;
        inner_.components = nullptr;
        inner_.restorePoints = nullptr;
        inner_.can = {.processes = true,
                      .services = true,
                      .components = true,
                      .network = true,
                      .registry = true,
                      .writable = true,
                      .live = true};
        WriteFile(inner_, Path("file.dll"), "x");
        dryRun_.emplace(inner_, [this](const SwallowedWrite& write) { texts_.push_back(write.text); });
        view_ = dryRun_->View();
    }
    [[nodiscard]] std::string Path(std::string_view name) const { return machine_.Folder() + std::string(name); }
    [[nodiscard]] std::vector<std::uint32_t> Listed() {
        std::vector<std::uint32_t> ids;
        for (const platform::ProcessEntry& entry : view_.processes->Snapshot().ValueOr({})) {
            ids.push_back(entry.id);
        }
        return ids;
    }

    ScratchMachine machine_;
    Platform inner_{machine_.View()};
    MadeProcesses processes_{*inner_.processes};
    FakeServices services_;
    std::optional<DryRunPlatform> dryRun_;
    Platform view_;
    std::vector<std::string> texts_;
};

TEST_F(DryRunOfRunningMachine, AnEndedProcessIsNoLongerListed) {
    const auto process = view_.processes->Open(8, 1025);
    ASSERT_TRUE(process.Ok());
    EXPECT_EQ((*process)->ExitCode().ValueOr(0), FakeProcess::StillActive);
    EXPECT_EQ((*process)->End(7), SysError::Success);
    EXPECT_EQ((*process)->ExitCode().ValueOr(0), 7U);
    EXPECT_EQ((*process)->End(7), SysError::AccessDenied) << "it has ended";
    EXPECT_THAT(Listed(), ElementsAre(4, 12));
    EXPECT_THAT(*view_.processes->Identifiers(2), ElementsAre(4, 12));
    EXPECT_EQ(view_.processes->SnapshotThreads(0)->size(), 3U);
    EXPECT_EQ(view_.processes->Open(8, 1025).Error(), SysError::InvalidParameter);
    EXPECT_EQ(view_.processes->ModulePaths(8, 512, 512).Error(), SysError::InvalidParameter);
    EXPECT_THAT(texts_, ElementsAre("end process 8 plain.exe"));
    EXPECT_THAT(processes_.changes, IsEmpty());
}

TEST_F(DryRunOfRunningMachine, AProcessEndsWithItsLastThread) {
    EXPECT_EQ(view_.processes->EndThread(3, 2, 0), SysError::AccessDenied);
    EXPECT_EQ(view_.processes->EndThread(99, 1, 0), SysError::InvalidParameter);
    EXPECT_EQ(view_.processes->EndThread(3, 1, 0), SysError::Success);
    EXPECT_THAT(Listed(), ElementsAre(4, 8, 12));
    EXPECT_EQ(view_.processes->EndThread(5, 1, 0), SysError::Success);
    EXPECT_THAT(Listed(), ElementsAre(4, 8));
    EXPECT_THAT(texts_, ElementsAre("end thread 3", "end thread 5"));
    EXPECT_THAT(processes_.changes, IsEmpty());
}

TEST_F(DryRunOfRunningMachine, PrioritiesStayAsTheyAre) {
    EXPECT_EQ(view_.processes->SetPriorityClass(128), SysError::Success);
    EXPECT_EQ(view_.processes->SetPriorityClass(7), SysError::InvalidParameter);
    EXPECT_EQ(view_.processes->SetThreadPriority(-15), SysError::Success);
    EXPECT_EQ(view_.processes->SetThreadPriority(3), SysError::InvalidParameter);
    EXPECT_THAT(texts_, ElementsAre("set own priority to 128", "set own priority to -15"));
}

TEST_F(DryRunOfRunningMachine, AStoppedServiceCanNotBeStoppedAgain) {
    const auto manager = view_.services->OpenManager("", "ServicesActive", 0xF003F);
    ASSERT_TRUE(manager.Ok());
    EXPECT_EQ((*(*manager)->Open("Spy", 0x80))->Control(1), SysError::AccessDenied);
    const auto service = (*manager)->Open("Spy", 0xF01FF);
    ASSERT_TRUE(service.Ok());
    EXPECT_EQ((*service)->Control(4), SysError::Success) << "a question is passed on";
    EXPECT_EQ((*service)->Control(1), SysError::Success);
    EXPECT_EQ((*service)->Control(1), static_cast<SysError>(1062));
    EXPECT_EQ((*(*manager)->Open("SPY", 0xF01FF))->Control(4), static_cast<SysError>(1062));
    EXPECT_THAT(texts_, ElementsAre("control service Spy with 1"));
    EXPECT_THAT(services_.controls, ElementsAre(4));
}

TEST_F(DryRunOfRunningMachine, AsksNothingOfOthers) {
    EXPECT_EQ(view_.components->Unregister(Path("file.dll")).ValueOr(-1), 0);
    EXPECT_EQ(view_.components->Register(Path("file.dll")).ValueOr(-1), 0);
    EXPECT_EQ(view_.components->Register(Path("missing.dll")).Error(), SysError::ModuleNotFound);
    EXPECT_EQ(view_.shell->Execute("open", Path("file.dll"), "-1", 0), SysError::Success);
    EXPECT_EQ(view_.shell->Execute("open", Path("missing.exe"), "", 0), SysError::FileNotFound);
    EXPECT_EQ(view_.shell->Execute("open", "notepad.exe", "", 0), SysError::Success);
    EXPECT_EQ(view_.internet->Download("http://a/b", Path("page")), SysError::Success);
    EXPECT_EQ(view_.internet->Download("http://a/b", Path("none\\page")), SysError::PathNotFound);
    EXPECT_EQ(view_.restorePoints->Create("before", 0, 100).ValueOr(-1), 0);
    EXPECT_EQ(view_.files->Length(Path("page")).ValueOr(9), 0U) << "what would be there is not known";
    EXPECT_FALSE(inner_.files->PathExists(Path("page")));
    EXPECT_THAT(texts_,
                ElementsAre("unregister component " + Path("file.dll"), "register component " + Path("file.dll"),
                            "start program " + Path("file.dll") + " -1", "start program notepad.exe",
                            "download http://a/b to " + Path("page"), "make restore point before"));
}

TEST_F(DryRunOfRunningMachine, AMachineThatDoesNotRunHasNothingToAsk) {
    inner_.can = {};
    const DryRunPlatform dryRun(inner_, {});
    const Platform view = dryRun.View();
    EXPECT_EQ(view.components->Register(Path("file.dll")).Error(), SysError::NotSupported);
    EXPECT_EQ(view.shell->Execute("open", Path("file.dll"), "", 0), SysError::NotSupported);
    EXPECT_EQ(view.internet->Download("http://a/b", Path("page")), SysError::NotSupported);
    EXPECT_EQ(view.restorePoints->Create("before", 0, 100).Error(), SysError::NotSupported);
    EXPECT_EQ(view.processes->EndThread(2, 1, 0), SysError::NotSupported);
    EXPECT_EQ(view.processes->SetPriorityClass(128), SysError::NotSupported);
}

}  // namespace
}  // namespace kel::test
