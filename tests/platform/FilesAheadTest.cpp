#include <algorithm>
#include <array>
#include <chrono>
#include <memory>

#include "PlatformTest.h"

namespace kel::test {
namespace {

using platform::AheadFile;
using platform::FolderAhead;

class FilesAhead : public PlatformTest {
protected:
    // Below a dry run: what is there in the dry run alone is not read ahead.
    void Put(std::string_view name, std::string_view bytes) { WriteFile(Real(), Path(name), bytes); }
    std::unique_ptr<FolderAhead> Ahead(std::string_view folder = "") { return Real().files->Ahead(Path(folder)); }
    // A file that was written just now is not trusted to stay as it is.
    static std::unique_ptr<AheadFile> OpenSettled(FolderAhead& folder, std::string_view name) {
        const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        std::unique_ptr<AheadFile> file;
        while (file == nullptr && std::chrono::steady_clock::now() < until) {
            file = folder.OpenNamed(name);
            if (file && !file->Opened()) {
                file.reset();
            }
        }
        return file;
    }
    static std::string ReadAll(AheadFile& file) {
        std::string all;
        std::array<char, 3> some{};
        while (const std::size_t got = file.Read(std::as_writable_bytes(std::span(some)))) {
            all.append(some.data(), got);
        }
        return all;
    }
};

TEST_F(FilesAhead, AFolderTellsItsEntriesAndTheirKinds) {
    Put("b.txt", "b");
    Put("a.txt", "a");
    MakeFolder(Real(), Path("sub"));
    const auto folder = Ahead();
    ASSERT_NE(folder, nullptr);
    ASSERT_EQ(folder->Count(), 3U);
    std::vector<std::string> names;
    for (std::size_t index = 0; index < folder->Count(); ++index) {
        names.emplace_back(folder->Name(index));
        EXPECT_EQ(folder->KindOf(index), names.back() == "sub" ? FolderAhead::Kind::Folder : FolderAhead::Kind::File);
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"a.txt", "b.txt", "sub"}));
}

TEST_F(FilesAhead, AFileIsOpenedByItsPlaceOrItsName) {
    Put("a.txt", "abc");
    MakeFolder(Real(), Path("sub"));
    const auto folder = Ahead();
    ASSERT_NE(OpenSettled(*folder, "a.txt"), nullptr);
    for (const char* name : {"a.txt", "A.TXT"}) {
        const auto file = folder->OpenNamed(name);
        ASSERT_TRUE(file && file->Opened()) << name;
        EXPECT_EQ(ReadAll(*file), "abc");
    }
    for (std::size_t index = 0; index < folder->Count(); ++index) {
        const auto file = folder->Open(index);
        EXPECT_EQ(file && file->Opened(), folder->Name(index) == "a.txt");
    }
    for (const char* name : {"c.txt", "sub", ""}) {
        EXPECT_EQ(folder->OpenNamed(name), nullptr) << name;
    }
}

TEST_F(FilesAhead, AFolderThatIsNotThereIsNone) {
    EXPECT_EQ(Ahead("none\\"), nullptr);
}

TEST_F(FilesAhead, AFileIsReadToItsEndAskedForOrNot) {
    Put("a.txt", "0123456789");
    const auto folder = Ahead();
    for (const bool asked : {false, true}) {
        const auto file = OpenSettled(*folder, "a.txt");
        ASSERT_NE(file, nullptr);
        EXPECT_EQ(file->Stamp(), Real().files->Stamp(Path("a.txt")).Value());
        if (asked) {
            file->WillBeRead();
        }
        EXPECT_EQ(ReadAll(*file), "0123456789");
    }
}

TEST_F(FilesAhead, AskingForAFileThatIsClosedUnreadDoesNoHarm) {
    Put("a.txt", "0123456789");
    const auto folder = Ahead();
    for (int i = 0; i < 100; ++i) {
        const auto file = OpenSettled(*folder, "a.txt");
        ASSERT_NE(file, nullptr);
        file->WillBeRead();
    }
    EXPECT_EQ(ReadAll(*OpenSettled(*folder, "a.txt")), "0123456789");
}

TEST_F(FilesAhead, AFolderThatIsAskedForIsEnteredAsEver) {
    MakeFolder(Real(), Path("sub"));
    Put("sub\\a.txt", "a");
    const auto folder = Ahead();
    ASSERT_EQ(folder->Count(), 1U);
    folder->WillBeEntered(0);
    const auto sub = Ahead("sub\\");
    ASSERT_NE(sub, nullptr);
    EXPECT_EQ(sub->Count(), 1U);
}

TEST_F(FilesAhead, AFileThatWasJustReadIsInMemoryWhereThatCanBeTold) {
    Put("a.txt", "0123456789");
    const auto folder = Ahead();
    ReadAll(*OpenSettled(*folder, "a.txt"));
    const auto file = OpenSettled(*folder, "a.txt");
    ASSERT_NE(file, nullptr);
    EXPECT_TRUE(file->InMemory().value_or(true));
    EXPECT_EQ(ReadAll(*file), "0123456789") << "the look takes nothing";
}

}  // namespace
}  // namespace kel::test
