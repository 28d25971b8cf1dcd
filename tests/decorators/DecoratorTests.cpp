// The read-only platform and the fault-injecting one, over a real machine.
#include <gtest/gtest.h>

#include <span>

#include "decorators/FaultInjectingPlatform.h"
#include "decorators/ForwardingFiles.h"
#include "decorators/FullPath.h"
#include "decorators/ReadOnlyPlatform.h"
#include "support/ScratchMachine.h"

namespace kel::test {

using decorators::FaultInjectingPlatform;
using decorators::FullPath;
using decorators::IsInside;
using decorators::ReadOnlyPlatform;
using platform::OpenMode;
using platform::Platform;
using platform::SysError;

class Decorators : public ::testing::Test {
protected:
    Decorators() { WriteFile(Inner(), Path("file"), "content"); }

    [[nodiscard]] Platform Inner() const { return machine_.View(); }
    [[nodiscard]] std::string Path(std::string_view name) const { return machine_.Folder() + std::string(name); }
    [[nodiscard]] const std::string& Folder() const { return machine_.Folder(); }
    [[nodiscard]] const std::string& Key() const { return machine_.Key(); }
    [[nodiscard]] static SysError OpenError(const Platform& view, std::string_view path, OpenMode mode) {
        return view.files->Open(path, mode).Error();
    }
    [[nodiscard]] static SysError Put(platform::OpenFile& file, std::string_view bytes) {
        return file.Write(std::as_bytes(std::span(bytes)));
    }

private:
    ScratchMachine machine_;
};

class ReadOnly : public Decorators {
protected:
    ReadOnlyPlatform readOnly_{Inner()};
    Platform view_{readOnly_.View()};
};

TEST_F(ReadOnly, RefusesEveryChangeOfFiles) {
    MakeFolder(Inner(), Path("folder"));
    platform::Files& files = *view_.files;
    EXPECT_FALSE(view_.can.writable);
    EXPECT_EQ(files.Remove(Path("file")), SysError::WriteProtect);
    EXPECT_EQ(files.RemoveFolder(Path("folder")), SysError::WriteProtect);
    EXPECT_EQ(files.MakeFolder(Path("new")), SysError::WriteProtect);
    EXPECT_EQ(files.Rename(Path("file"), Path("moved")), SysError::WriteProtect);
    EXPECT_EQ(files.SetAttributes(Path("file"), platform::AttributeReadOnly), SysError::WriteProtect);
    for (const OpenMode mode : {OpenMode::ReadWrite, OpenMode::Create, OpenMode::CreateNew, OpenMode::Append}) {
        EXPECT_EQ(OpenError(view_, Path("file"), mode), SysError::WriteProtect);
        EXPECT_EQ(OpenError(view_, Path("new"), mode), SysError::WriteProtect);
    }
    EXPECT_EQ(ReadFile(Inner(), Path("file")), "content");
    EXPECT_FALSE(Inner().files->PathExists(Path("new")));
    EXPECT_FALSE(Inner().files->PathExists(Path("moved")));
}

TEST_F(ReadOnly, ReadsPass) {
    EXPECT_EQ(ReadFile(view_, Path("file")), "content");
    EXPECT_TRUE(view_.files->Open(Path("file"), OpenMode::Read).Ok());
    EXPECT_EQ(*view_.files->Length(Path("file")), 7U);
    EXPECT_TRUE(view_.files->PathExists(Path("file")));
    platform::FindData entry;
    EXPECT_TRUE(view_.files->FindFirst(Path("*"), entry).Ok());
}

TEST_F(ReadOnly, OtherReasonsComeFirst) {
    MakeFolder(Inner(), Path("folder"));
    EXPECT_EQ(view_.files->Remove(Path("missing")), SysError::FileNotFound);
    EXPECT_EQ(view_.files->Remove(Path("none\\missing")), SysError::PathNotFound);
    EXPECT_EQ(view_.files->Rename(Path("missing"), Path("x")), SysError::FileNotFound);
    EXPECT_EQ(view_.files->MakeFolder(Path("folder")), SysError::AlreadyExists);
    EXPECT_EQ(view_.files->MakeFolder(Path("none\\sub")), SysError::PathNotFound);
    EXPECT_EQ(OpenError(view_, Path("none\\new"), OpenMode::Create), SysError::PathNotFound);
}

TEST_F(ReadOnly, AllowedRootsStayWritable) {
    MakeFolder(Inner(), Path("open"));
    MakeFolder(Inner(), Path("openly"));
    readOnly_.AllowWrites(Path("open\\"));
    WriteFile(view_, Path("open\\new"), "x");
    EXPECT_EQ(view_.files->Rename(Path("OPEN\\new"), Path("open\\newer")), SysError::Success);
    EXPECT_EQ(OpenError(view_, Path("openly\\new"), OpenMode::Create), SysError::WriteProtect);
    EXPECT_EQ(OpenError(view_, Path("open\\..\\new"), OpenMode::Create), SysError::WriteProtect);
    EXPECT_EQ(OpenError(view_, Path("open\\.\\.\\..\\openly\\new"), OpenMode::Create), SysError::WriteProtect);
    EXPECT_EQ(view_.files->Rename(Path("file"), Path("open\\stolen")), SysError::WriteProtect);
    EXPECT_EQ(view_.files->Rename(Path("open\\newer"), Path("out")), SysError::WriteProtect);
    EXPECT_EQ(view_.files->Remove(Path("open\\newer")), SysError::Success);
}

TEST_F(ReadOnly, RelativePathsAreWhereTheCurrentFolderIs) {
    MakeFolder(Inner(), Path("open"));
    readOnly_.AllowWrites(Path("open"));
    EXPECT_EQ(view_.files->SetCurrentFolder(Path("open")), SysError::Success);
    EXPECT_TRUE(view_.files->Open("new", OpenMode::Create).Ok());
    EXPECT_EQ(OpenError(view_, "..\\new", OpenMode::Create), SysError::WriteProtect);
    EXPECT_EQ(view_.files->SetCurrentFolder("C:\\"), SysError::Success);
}

TEST_F(ReadOnly, RefusesEveryChangeOfTheRegistry) {
    platform::Registry& registry = *view_.registry;
    {
        auto key = Inner().registry->Create(platform::HiveCurrentUser, Key());
        ASSERT_TRUE(key.Ok());
        EXPECT_EQ((*key)->Set("name", platform::ValueType::Sz, "text"), SysError::Success);
    }
    auto key = registry.Open(platform::HiveCurrentUser, Key());
    ASSERT_TRUE(key.Ok());
    EXPECT_TRUE((*key)->Query("name").Ok());
    EXPECT_EQ((*key)->Set("name", platform::ValueType::Sz, "other"), SysError::WriteProtect);
    EXPECT_EQ((*key)->RemoveValue("name"), SysError::WriteProtect);
    EXPECT_EQ((*key)->RemoveValue("none"), SysError::FileNotFound);
    EXPECT_TRUE(registry.Create(platform::HiveCurrentUser, Key()).Ok()) << "a key that is there is opened";
    EXPECT_EQ(registry.Create(platform::HiveCurrentUser, Key() + "\\new").Error(), SysError::WriteProtect);
    EXPECT_EQ(registry.RemoveKey(platform::HiveCurrentUser, Key()), SysError::WriteProtect);
    EXPECT_EQ(registry.RemoveKey(platform::HiveCurrentUser, Key() + "\\none"), SysError::FileNotFound);
    EXPECT_EQ(registry.Commit(), SysError::Success);
    EXPECT_EQ((*Inner().registry->Open(platform::HiveCurrentUser, Key()))->Query("name")->data.substr(0, 4), "text");
    EXPECT_FALSE(Inner().registry->Open(platform::HiveCurrentUser, Key() + "\\new").Ok());
}

TEST_F(ReadOnly, TheShellDeletesNothing) {
    SysError error = SysError::Success;
    EXPECT_NE(view_.shell->Delete(Path("file"), 20, error), 0);
    EXPECT_EQ(error, SysError::WriteProtect);
    EXPECT_TRUE(Inner().files->PathExists(Path("file")));
}

class Faults : public Decorators {
protected:
    FaultInjectingPlatform faults_{Inner()};
    Platform view_{faults_.View()};
};

TEST_F(Faults, WithoutAnyEverythingPasses) {
    WriteFile(view_, Path("a"), "bytes");
    EXPECT_EQ(ReadFile(view_, Path("a")), "bytes");
    EXPECT_EQ(view_.files->Rename(Path("a"), Path("b")), SysError::Success);
    EXPECT_EQ(view_.files->Remove(Path("b")), SysError::Success);
    EXPECT_EQ(faults_.Writes(), 4U) << "open, write, move, delete";
}

TEST_F(Faults, TheChosenWriteFailsAndChangesNothing) {
    faults_.FailWrite(2, SysError::AccessDenied);
    EXPECT_EQ(view_.files->MakeFolder(Path("one")), SysError::Success);
    EXPECT_EQ(view_.files->MakeFolder(Path("two")), SysError::AccessDenied);
    EXPECT_EQ(view_.files->MakeFolder(Path("three")), SysError::Success);
    EXPECT_TRUE(Inner().files->PathExists(Path("one")));
    EXPECT_FALSE(Inner().files->PathExists(Path("two")));
    EXPECT_EQ(faults_.Writes(), 3U);
}

TEST_F(Faults, FromTheChosenWriteOnAllFail) {
    faults_.FailWritesFrom(2, SysError::IoFailed);
    EXPECT_EQ(view_.files->MakeFolder(Path("one")), SysError::Success);
    SysError error = SysError::Success;
    EXPECT_EQ(view_.files->MakeFolder(Path("two")), SysError::IoFailed);
    EXPECT_EQ(view_.files->SetAttributes(Path("file"), platform::AttributeReadOnly), SysError::IoFailed);
    EXPECT_EQ(view_.files->Remove(Path("file")), SysError::IoFailed);
    EXPECT_EQ(view_.files->RemoveFolder(Path("one")), SysError::IoFailed);
    EXPECT_EQ(view_.files->Rename(Path("file"), Path("moved")), SysError::IoFailed);
    EXPECT_EQ(OpenError(view_, Path("file"), OpenMode::Create), SysError::IoFailed);
    EXPECT_NE(view_.shell->Delete(Path("file"), 20, error), 0);
    EXPECT_EQ(error, SysError::IoFailed);
    EXPECT_EQ(view_.registry->Create(platform::HiveCurrentUser, Key() + "\\x").Error(), SysError::IoFailed);
    EXPECT_EQ(view_.registry->RemoveKey(platform::HiveCurrentUser, Key()), SysError::IoFailed);
    EXPECT_EQ(view_.registry->Commit(), SysError::IoFailed);
    EXPECT_EQ(ReadFile(view_, Path("file")), "content");
    faults_.Clear();
    EXPECT_EQ(view_.files->Remove(Path("file")), SysError::Success);
}

TEST_F(Faults, WritesToOpenFilesAndKeysCountToo) {
    auto file = view_.files->Open(Path("new"), OpenMode::Create);
    auto key = view_.registry->Open(platform::HiveCurrentUser, Key());
    ASSERT_TRUE(file.Ok() && key.Ok());
    faults_.FailWritesFrom(2, SysError::WriteProtect);
    EXPECT_EQ(Put(**file, "first"), SysError::Success);
    EXPECT_EQ(Put(**file, "second"), SysError::WriteProtect);
    EXPECT_EQ((*file)->Seek(0), SysError::Success);
    EXPECT_EQ((*file)->SetEnd(), SysError::WriteProtect);
    EXPECT_EQ((*key)->Set("v", platform::ValueType::Sz, "x"), SysError::WriteProtect);
    EXPECT_EQ((*key)->RemoveValue("v"), SysError::WriteProtect);
    EXPECT_EQ((*key)->RemoveKey("k"), SysError::WriteProtect);
    file = SysError::AccessDenied;
    EXPECT_EQ(ReadFile(Inner(), Path("new")), "first");
}

TEST_F(Faults, ALockedFileIsInUse) {
    MakeFolder(Inner(), Path("folder"));
    WriteFile(Inner(), Path("folder\\held"), "x");
    faults_.Lock(Path("FOLDER\\Held"));
    EXPECT_EQ(OpenError(view_, Path("folder\\held"), OpenMode::Read), SysError::SharingViolation);
    EXPECT_EQ(OpenError(view_, Path("folder\\held"), OpenMode::Append), SysError::SharingViolation);
    EXPECT_EQ(view_.files->View(Path("folder\\held")).Error(), SysError::SharingViolation);
    EXPECT_EQ(view_.files->Remove(Path("folder\\.\\held")), SysError::SharingViolation);
    EXPECT_EQ(view_.files->Rename(Path("folder\\held"), Path("x")), SysError::SharingViolation);
    EXPECT_EQ(view_.files->Rename(Path("folder"), Path("x")), SysError::SharingViolation);
    EXPECT_EQ(view_.files->SetAttributes(Path("folder\\held"), platform::AttributeNormal), SysError::Success);
    SysError error = SysError::Success;
    EXPECT_NE(view_.shell->Delete(Path("folder"), 20, error), 0);
    EXPECT_EQ(error, SysError::SharingViolation);
    EXPECT_TRUE(view_.files->PathExists(Path("folder\\held")));
    EXPECT_EQ(view_.files->Remove(Path("file")), SysError::Success);
    faults_.Unlock(Path("folder\\held"));
    EXPECT_EQ(view_.files->Remove(Path("folder\\held")), SysError::Success);
}

TEST_F(Faults, AFullDiskTakesWhatFits) {
    faults_.DiskFullAfter(10);
    {
        auto file = view_.files->Open(Path("new"), OpenMode::Create);
        ASSERT_TRUE(file.Ok());
        EXPECT_EQ(Put(**file, "1234567"), SysError::Success);
        EXPECT_EQ(Put(**file, "89012345"), SysError::DiskFull);
        EXPECT_EQ(Put(**file, "x"), SysError::DiskFull);
    }
    EXPECT_EQ(ReadFile(Inner(), Path("new")), "1234567890");
    EXPECT_EQ(view_.files->Remove(Path("new")), SysError::Success);
}

TEST_F(Faults, AnUnreadableFileOpensAndDoesNotRead) {
    faults_.FailReads(Path("FILE"), SysError::GeneralFailure);
    auto file = view_.files->Open(Path("file"), OpenMode::Read);
    ASSERT_TRUE(file.Ok());
    std::byte byte{};
    EXPECT_EQ((*file)->Read({&byte, 1}).Error(), SysError::GeneralFailure);
    EXPECT_EQ(view_.files->View(Path("file")).Error(), SysError::GeneralFailure);
    EXPECT_EQ(*view_.files->Length(Path("file")), 7U);
    faults_.Clear();
    EXPECT_EQ(ReadFile(view_, Path("file")), "content");
}

TEST_F(Decorators, StackOnEachOther) {
    FaultInjectingPlatform faults(Inner());
    ReadOnlyPlatform readOnly(faults.View());
    readOnly.AllowWrites(Folder());
    faults.FailWrite(1, SysError::DiskFull);
    EXPECT_EQ(readOnly.View().files->MakeFolder(Path("a")), SysError::DiskFull);
    EXPECT_EQ(readOnly.View().files->MakeFolder(Path("a")), SysError::Success);
}

TEST_F(Decorators, AForwardingPartPassesEverythingOn) {
    decorators::ForwardingFiles files(*Inner().files);
    EXPECT_EQ(files.MakeFolder(Path("sub")), SysError::Success);
    EXPECT_TRUE(files.PathExists(Path("SUB")));
    EXPECT_EQ(files.PathIsDirectory(Path("sub")), 16);
    EXPECT_EQ(files.RemoveFolder(Path("sub")), SysError::Success);
    EXPECT_EQ(files.LogicalDrives(), Inner().files->LogicalDrives());
    EXPECT_EQ(files.CurrentFolder(), Inner().files->CurrentFolder());
    EXPECT_TRUE(files.MatchSpec("a.exe", "*.exe"));
}

TEST_F(Decorators, PathsAreComparedInOneForm) {
    EXPECT_EQ(FullPath(Inner(), "C:\\A\\.\\B\\..\\c. \\"), "c:\\a\\c");
    EXPECT_EQ(FullPath(Inner(), "\\\\?\\C:\\X"), "c:\\x");
    EXPECT_EQ(FullPath(Inner(), "D:\\"), "d:\\");
    EXPECT_EQ(FullPath(Inner(), "D:\\..\\..\\x\\\\y"), "d:\\x\\y");
    EXPECT_TRUE(IsInside("c:\\a\\b", "c:\\a"));
    EXPECT_TRUE(IsInside("c:\\a", "c:\\a"));
    EXPECT_TRUE(IsInside("c:\\a", "c:\\"));
    EXPECT_FALSE(IsInside("c:\\ab", "c:\\a"));
    EXPECT_FALSE(IsInside("c:\\", "c:\\a"));
}

}  // namespace kel::test
