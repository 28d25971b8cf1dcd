// Whatever can't be looked at is reported, and what merely is not there is not.
#include "frontend/ReadWatch.h"

#include <gmock/gmock.h>

#include "core/Unnoticed.h"
#include "decorators/FaultInjectingPlatform.h"
#include "support/EngineTest.h"

namespace kel::frontend {
namespace {

using platform::FindData;
using platform::OpenMode;
using platform::SysError;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

// A listing that breaks off behind its first entry.
class BrokenFind : public platform::Find {
public:
    SysError Next(FindData& /*entry*/) override { return error; }
    SysError error = SysError::IoFailed;
};

// A machine whose folders can't be listed, or not to their end.
class BrokenFolders : public decorators::ForwardingFiles {
public:
    using ForwardingFiles::ForwardingFiles;
    platform::Result<std::unique_ptr<platform::Find>> FindFirst(std::string_view /*pattern*/,
                                                                FindData& first) override {
        if (error != SysError::Success) {
            return error;
        }
        first.name = "first";
        return std::unique_ptr<platform::Find>(std::make_unique<BrokenFind>());
    }
    SysError error = SysError::Success;
};

class Watch : public test::EngineTest {
protected:
    void SetUp() override { WriteFile(Folder() + "a.txt", "hello"); }

    ReadWatch::Report Noted() {
        return [this](std::string_view path, SysError error) { noted.emplace_back(path, error); };
    }

    std::vector<std::pair<std::string, SysError>> noted;
    decorators::FaultInjectingPlatform faults{Machine()};
    ReadWatch watch{*faults.View().files, Noted()};
    FindData entry;
};

TEST_F(Watch, WhatCanBeReadPassesInSilence) {
    auto file = watch.Open(Folder() + "a.txt", OpenMode::Read);
    ASSERT_TRUE(file.Ok());
    std::byte bytes[16];
    EXPECT_EQ((*file)->Read(bytes).ValueOr(0), 5U);
    EXPECT_EQ((*file)->Read(bytes).ValueOr(1), 0U);
    EXPECT_TRUE(watch.View(Folder() + "a.txt").Ok());
    auto find = watch.FindFirst(Folder() + "a.t*", entry);
    ASSERT_TRUE(find.Ok());
    EXPECT_EQ(entry.name, "a.txt");
    EXPECT_EQ((*find)->Next(entry), SysError::NoMoreFiles);
    EXPECT_THAT(noted, IsEmpty());
}

TEST_F(Watch, WhatIsNotThereIsNotUnreadable) {
    EXPECT_EQ(watch.Open(Folder() + "none.txt", OpenMode::Read).Error(), SysError::FileNotFound);
    EXPECT_FALSE(watch.View(Folder() + "none.txt").Ok());
    EXPECT_FALSE(watch.View(Folder() + "none\\none.txt").Ok());
    EXPECT_EQ(watch.FindFirst(Folder() + "none*", entry).Error(), SysError::FileNotFound);
    EXPECT_EQ(watch.FindFirst(Folder() + "none\\*", entry).Error(), SysError::PathNotFound);
    EXPECT_THAT(noted, IsEmpty());
}

TEST_F(Watch, ALookAheadIsNotNoticed) {
    faults.Lock(Folder() + "a.txt");
    {
        const Unnoticed unnoticed;
        EXPECT_EQ(watch.Open(Folder() + "a.txt", OpenMode::Read).Error(), SysError::SharingViolation);
        EXPECT_THAT(noted, IsEmpty());
    }
    EXPECT_EQ(watch.Open(Folder() + "a.txt", OpenMode::Read).Error(), SysError::SharingViolation);
    EXPECT_THAT(noted, ElementsAre(Pair(Folder() + "a.txt", SysError::SharingViolation)));
}

TEST_F(Watch, AFileThatCanNotBeOpenedIsReported) {
    faults.Lock(Folder() + "a.txt");
    EXPECT_EQ(watch.Open(Folder() + "a.txt", OpenMode::Read).Error(), SysError::SharingViolation);
    EXPECT_EQ(watch.View(Folder() + "a.txt").Error(), SysError::SharingViolation);
    EXPECT_THAT(noted, ElementsAre(Pair(Folder() + "a.txt", SysError::SharingViolation),
                                   Pair(Folder() + "a.txt", SysError::SharingViolation)));
}

TEST_F(Watch, AFileThatCanBeOpenedAndNotReadIsReported) {
    faults.FailReads(Folder() + "a.txt", SysError::IoFailed);
    auto file = watch.Open(Folder() + "a.txt", OpenMode::Read);
    ASSERT_TRUE(file.Ok());
    EXPECT_THAT(noted, IsEmpty());
    std::byte bytes[16];
    EXPECT_EQ((*file)->Read(bytes).Error(), SysError::IoFailed);
    EXPECT_EQ(watch.View(Folder() + "a.txt").Error(), SysError::IoFailed);
    EXPECT_THAT(
        noted, ElementsAre(Pair(Folder() + "a.txt", SysError::IoFailed), Pair(Folder() + "a.txt", SysError::IoFailed)));
}

TEST_F(Watch, FilesForWritingAreNoneThatAScanLooksAt) {
    faults.Lock(Folder() + "a.txt");
    EXPECT_FALSE(watch.Open(Folder() + "a.txt", OpenMode::Append).Ok());
    EXPECT_FALSE(watch.Open(Folder() + "a.txt", OpenMode::Create).Ok());
    EXPECT_THAT(noted, IsEmpty());
}

TEST_F(Watch, AFolderThatCanNotBeListedIsReportedByItsOwnName) {
    BrokenFolders broken(*Machine().files);
    broken.error = SysError::AccessDenied;
    ReadWatch over(broken, Noted());
    EXPECT_FALSE(over.FindFirst("C:\\some\\folder\\*.*", entry).Ok());
    EXPECT_FALSE(over.FindFirst("C:\\some\\folder\\a?.txt", entry).Ok());
    EXPECT_FALSE(over.FindFirst("C:\\*", entry).Ok());
    EXPECT_FALSE(over.FindFirst("C:\\some\\file.txt", entry).Ok());
    EXPECT_THAT(
        noted,
        ElementsAre(Pair("C:\\some\\folder", SysError::AccessDenied), Pair("C:\\some\\folder", SysError::AccessDenied),
                    Pair("C:\\", SysError::AccessDenied), Pair("C:\\some\\file.txt", SysError::AccessDenied)));
}

TEST_F(Watch, AListingThatBreaksOffIsReported) {
    BrokenFolders broken(*Machine().files);
    ReadWatch over(broken, Noted());
    auto find = over.FindFirst("C:\\some\\folder\\*", entry);
    ASSERT_TRUE(find.Ok());
    EXPECT_EQ(entry.name, "first");
    EXPECT_THAT(noted, IsEmpty());
    EXPECT_EQ((*find)->Next(entry), SysError::IoFailed);
    EXPECT_THAT(noted, ElementsAre(Pair("C:\\some\\folder", SysError::IoFailed)));
}

}  // namespace
}  // namespace kel::frontend
