// The fixture of tests that talk to the server as clients do.
#pragma once

#include <gtest/gtest.h>
#include <kelThreatEngine.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "automation/Com.h"
#include "automation/Convert.h"
#include "windows/Win32.h"

namespace kel::test {

using automation::ComPtr;
using automation::FromBstr;
using automation::Variant;

/// A string argument.
class Text {
public:
    explicit Text(std::string_view text) : text_(automation::ToBstr(text)) {}
    ~Text() { ::SysFreeString(text_); }
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;
    operator BSTR() const { return text_; }

private:
    BSTR text_;
};

/// A string result.
class TextOut {
public:
    TextOut() = default;
    ~TextOut() { ::SysFreeString(text_); }
    TextOut(const TextOut&) = delete;
    TextOut& operator=(const TextOut&) = delete;
    operator BSTR*() { return &text_; }
    [[nodiscard]] std::string Value() const { return FromBstr(text_); }

private:
    BSTR text_ = nullptr;
};

/// A new object of the server; starts it when it does not run. Empty on failure.
template <class Interface>
ComPtr<Interface> Create(const CLSID& id, HRESULT* outcome = nullptr) {
    ComPtr<Interface> made;
    const HRESULT created =
        ::CoCreateInstance(id, nullptr, CLSCTX_LOCAL_SERVER, __uuidof(Interface), reinterpret_cast<void**>(made.Out()));
    if (outcome != nullptr) {
        *outcome = created;
    }
    return made;
}

/// A client's handlers. Each may be empty, and answers what the server gets back.
struct Handlers {
    std::function<HRESULT(std::string location, LONG type, LONG count)> StartingLocation;
    std::function<HRESULT(std::string location, LONG type, LONG threat, LONG count)> ThreatDetected;
    std::function<HRESULT(std::string reason)> ScanAborted;
    std::function<HRESULT(VARIANT_BOOL& abort)> RequestScanAbort;
};

/// Subscribes the handlers to a callback for its lifetime.
class Subscription {
public:
    Subscription(_ScannerCallback* callback, Handlers handlers);
    ~Subscription();
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;

    /// Leaves before its end. @return the outcome of leaving
    HRESULT Leave();
    /// Stays subscribed without a reference to anything of the server.
    void Forget() { point_ = ComPtr<IConnectionPoint>(); }

private:
    ComPtr<IConnectionPoint> point_;
    DWORD cookie_ = 0;
};

/// The server's processes.
[[nodiscard]] std::vector<DWORD> ServerProcesses();
/// Ends them all, from outside. Waits for those that end by themselves.
void EndServers();

/// A started process. Ended, when it still runs, by the destructor.
class Program {
public:
    /// @param output whether what it writes is kept
    explicit Program(std::string command);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /// Its exit code when it ends, 259 when it does not within a minute.
    DWORD ExitCode();
    void Kill();

private:
    windows::KernelHandle process_;
};

/// A named event that two processes share.
class SharedEvent {
public:
    explicit SharedEvent(const char* name) : event_(::CreateEventA(nullptr, TRUE, FALSE, name)) {}
    void Set() { ::SetEvent(event_.Get()); }
    [[nodiscard]] bool IsSet() { return ::WaitForSingleObject(event_.Get(), 0) == WAIT_OBJECT_0; }
    /// Lets calls in meanwhile. False after a minute.
    bool Wait();

private:
    windows::KernelHandle event_;
};

extern const std::string ServerFolder;   ///< of the installed server, with a trailing backslash
extern const std::string ServerProgram;  ///< its path
extern const std::string DataFolder;     ///< the clients' user data, with a trailing backslash

/// What a second client of these tests is told to do: this program, started with `--client NAME`.
int RunClient(std::string_view name);
/// The command that starts it.
[[nodiscard]] std::string ClientCommand(std::string_view name);

/// The server is installed with tables of one threat and registered for the machine. No server runs when a test begins.
class ServerTest : public ::testing::Test {
protected:
    static void SetUpTestSuite();
    static void TearDownTestSuite();
    void SetUp() override;
    void TearDown() override;

    /// A manager whose scanner has the data folder.
    ComPtr<_Manager> OpenManager();
    /// A scanner with a new scan, ready for ScanFolder.
    ComPtr<_Scanner> BeginScan();
    /// `count` files of a few bytes in a folder of their own, made once. With a trailing backslash.
    static std::string FolderOfFiles(int count);
    static LONG ScannedFiles(_Scanner* scanner);
    /// The lines of the server's error log that hold a text.
    static int LinesOfErrorLog(std::string_view with);

    ComPtr<_Manager> manager;
};

/// The threat of the tables, and the path that it is detected by.
constexpr LONG ThreatOfTables = 7;
extern const std::string PathOfThreat;

}  // namespace kel::test
