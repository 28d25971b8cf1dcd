#include "windows/WindowsPlatform.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <span>
#include <string>
#include <string_view>

#include "support/ScratchMachine.h"
#include "windows/LongPath.h"

namespace kel::test {
namespace {

using platform::OpenMode;
using platform::SysError;

class WindowsPlatform : public ::testing::Test {
protected:
    [[nodiscard]] platform::Files& Files() { return *view_.files; }
    [[nodiscard]] std::string Path(std::string_view name) const { return machine_.Folder() + std::string(name); }
    void Write(std::string_view name) { WriteFile(view_, Path(name), "text"); }

    ScratchMachine machine_;
    platform::Platform view_ = machine_.View();
};

TEST_F(WindowsPlatform, CanDoEverything) {
    EXPECT_TRUE(view_.can.processes);
    EXPECT_TRUE(view_.can.services);
    EXPECT_TRUE(view_.can.components);
    EXPECT_TRUE(view_.can.network);
    EXPECT_TRUE(view_.can.registry);
    EXPECT_TRUE(view_.can.writable);
    EXPECT_TRUE(view_.can.live);
}

TEST_F(WindowsPlatform, FileThatIsWrittenToIsSharedForReadingOnly) {
    auto writer = Files().Open(Path("a.txt"), OpenMode::Create);
    ASSERT_TRUE(writer.Ok());
    EXPECT_EQ(Files().Open(Path("a.txt"), OpenMode::ReadWrite).Error(), SysError::SharingViolation);
    EXPECT_EQ(Files().Open(Path("a.txt"), OpenMode::Create).Error(), SysError::SharingViolation);
    EXPECT_EQ(Files().Open(Path("a.txt"), OpenMode::Append).Error(), SysError::SharingViolation);
    EXPECT_TRUE(Files().Open(Path("a.txt"), OpenMode::Read).Ok());
}

TEST_F(WindowsPlatform, OpenFileIsNeitherDeletedNorMoved) {
    Write("a.txt");
    auto reader = Files().Open(Path("a.txt"), OpenMode::Read);
    ASSERT_TRUE(reader.Ok());
    EXPECT_EQ(Files().Remove(Path("a.txt")), SysError::SharingViolation);
    EXPECT_EQ(Files().Rename(Path("a.txt"), Path("b.txt")), SysError::SharingViolation);
}

TEST_F(WindowsPlatform, FileWithoutSharingStillHasALength) {
    Write("a.txt");
    const HANDLE locked =
        ::CreateFileA(Path("a.txt").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(locked, INVALID_HANDLE_VALUE);
    EXPECT_EQ(Files().Length(Path("a.txt")).ValueOr(0), 4U);
    EXPECT_EQ(Files().View(Path("a.txt")).Error(), SysError::SharingViolation);
    ::CloseHandle(locked);
}

TEST_F(WindowsPlatform, RunningProgramIsNotDeleted) {
    const std::string own = view_.processes->FirstModulePath(view_.processes->CurrentId(), 2048, 512).ValueOr("");
    ASSERT_NE(own, "");
    EXPECT_NE(Files().Remove(own), SysError::Success);
    EXPECT_TRUE(Files().PathExists(own));
}

TEST_F(WindowsPlatform, LongPathWithoutTheSystemsCallIsTheSame) {
    MakeFolder(view_, Path("Folder with blanks"));
    Write("Folder with blanks\\Long File Name.extension");
    const std::string whole = Path("Folder with blanks\\Long File Name.extension");
    const std::string shortPath = Files().ShortPath(whole).ValueOr("");
    EXPECT_EQ(windows::LongPathByFind(shortPath).ValueOr(""), whole);
    EXPECT_EQ(windows::LongPathByFind(whole).ValueOr(""), whole);
    EXPECT_EQ(windows::LongPathByFind(Path("Folder with blanks\\")).ValueOr(""), Path("Folder with blanks\\"));
    EXPECT_EQ(windows::LongPathByFind("C:\\").ValueOr(""), "C:\\");
    EXPECT_EQ(windows::LongPathByFind(Path("missing")).Error(), SysError::FileNotFound);
}

class WindowsMessages : public WindowsPlatform {
protected:
    windows::WindowsPlatform platform_;
    platform::MessageLoop& loop_ = *platform_.View().loop;
};

TEST_F(WindowsMessages, YieldFunctionIsCalledOncePerCall) {
    int calls = 0;
    platform_.OnYield([&calls] { ++calls; });
    loop_.DoEvents();
    loop_.DoEvents();
    EXPECT_EQ(calls, 2);
    platform_.OnYield({});
    loop_.DoEvents();
    EXPECT_EQ(calls, 2);
}

int messagesSeen = 0;

LRESULT CALLBACK CountMessages(HWND window, UINT message, WPARAM first, LPARAM second) {
    messagesSeen += message == WM_USER ? 1 : 0;
    return ::DefWindowProcA(window, message, first, second);
}

TEST_F(WindowsMessages, AllWaitingMessagesAreDispatched) {
    WNDCLASSA windowClass{};
    windowClass.lpfnWndProc = CountMessages;
    windowClass.hInstance = ::GetModuleHandleA(nullptr);
    windowClass.lpszClassName = "KelTestWindow";
    ASSERT_NE(::RegisterClassA(&windowClass), 0);
    const HWND window = ::CreateWindowA("KelTestWindow", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    ASSERT_NE(window, nullptr);
    messagesSeen = 0;
    for (int count = 0; count < 3; ++count) {
        ::PostMessageA(window, WM_USER, 0, 0);
    }
    EXPECT_EQ(messagesSeen, 0);
    loop_.DoEvents();
    EXPECT_EQ(messagesSeen, 3);
    ::DestroyWindow(window);
    ::UnregisterClassA("KelTestWindow", ::GetModuleHandleA(nullptr));
}

TEST_F(WindowsMessages, QuitIsLeftForTheThreadsOwnLoop) {
    ::PostQuitMessage(7);
    loop_.DoEvents();
    MSG message;
    ASSERT_NE(::PeekMessageA(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE), FALSE);
    EXPECT_EQ(message.wParam, 7U);
}

struct VersionRow {
    std::string_view name;
    std::uint32_t platformId;
    std::uint32_t major;
    std::uint32_t minor;
};

constexpr VersionRow VersionRows[] = {
    {"win95", 1, 4, 0}, {"win98", 1, 4, 10}, {"winme", 1, 4, 90},
    {"nt40", 2, 4, 0},  {"win2k", 2, 5, 0},  {"winxp", 2, 5, 1},
};

TEST(EmulatedVersion, IsTheOneAskedFor) {
    const char* asked = std::getenv("KEL_WINE_VERSION");
    const std::string_view name = asked == nullptr ? "winxp" : asked;
    const auto* row = std::find_if(std::begin(VersionRows), std::end(VersionRows),
                                   [&](const VersionRow& candidate) { return candidate.name == name; });
    if (row == std::end(VersionRows) ||
        ::GetProcAddress(::GetModuleHandleA("ntdll.dll"), "wine_get_version") == nullptr) {
        GTEST_SKIP() << "not one of the emulated versions";
    }
    windows::WindowsPlatform platform;
    const auto version = platform.View().system->Version();
    ASSERT_TRUE(version.Ok());
    EXPECT_EQ(version.Value().platformId, row->platformId);
    EXPECT_EQ(version.Value().major, row->major);
    EXPECT_EQ(version.Value().minor, row->minor);
}

}  // namespace
}  // namespace kel::test
