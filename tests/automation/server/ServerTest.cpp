#include "ServerTest.h"

#include <tlhelp32.h>

#include <algorithm>

#include "core/EngineState.h"
#include "platform/Platform.h"
#include "support/ShippedTables.h"
#include "system/modFolderPaths.h"
#include "windows/WindowsPlatform.h"

namespace kel::test {

const std::string ServerFolder = "C:\\kelServer\\";
const std::string ServerProgram = ServerFolder + "kelThreatEngine.exe";
const std::string DataFolder = "C:\\kelServerData\\";
const std::string PathOfThreat = "c:\\kelserverfiles\\bad.exe";

namespace {

constexpr DWORD Patience = 60000;
constexpr DWORD ServersPatience = 15000;

class Sink final : public IDispatch {
public:
    explicit Sink(Handlers handlers) : handlers_(std::move(handlers)) {}
    Sink(const Sink&) = delete;
    Sink& operator=(const Sink&) = delete;

    STDMETHODIMP QueryInterface(REFIID id, void** out) override {
        *out = id == IID_IUnknown || id == IID_IDispatch || id == __uuidof(__ScannerCallback) ? this : nullptr;
        if (*out == nullptr) {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(::InterlockedIncrement(&references_)); }
    STDMETHODIMP_(ULONG) Release() override {
        const LONG left = ::InterlockedDecrement(&references_);
        if (left == 0) {
            delete this;
        }
        return static_cast<ULONG>(left);
    }
    STDMETHODIMP GetTypeInfoCount(UINT* count) override {
        *count = 0;
        return S_OK;
    }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return DISP_E_BADINDEX; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return DISP_E_UNKNOWNNAME; }
    STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* arguments, VARIANT*, EXCEPINFO*, UINT*) override {
        const auto at = [&](UINT place) -> VARIANTARG& { return arguments->rgvarg[arguments->cArgs - 1 - place]; };
        const auto text = [&](UINT place) { return FromBstr(at(place).bstrVal); };
        switch (id) {
            case 1:
                return handlers_.StartingLocation ? handlers_.StartingLocation(text(0), at(1).lVal, at(2).lVal) : S_OK;
            case 2:
                return handlers_.ThreatDetected ? handlers_.ThreatDetected(text(0), at(1).lVal, at(2).lVal, at(3).lVal)
                                                : S_OK;
            case 3:
                return handlers_.ScanAborted ? handlers_.ScanAborted(text(0)) : S_OK;
            case 4:
                return handlers_.RequestScanAbort ? handlers_.RequestScanAbort(*at(0).pboolVal) : S_OK;
            default:
                return DISP_E_MEMBERNOTFOUND;
        }
    }

private:
    ~Sink() = default;
    LONG references_ = 1;
    Handlers handlers_;
};

void Remove(const std::string& path) {
    ::SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    ::DeleteFileA(path.c_str());
}

void InstallServer() {
    ::CreateDirectoryA(ServerFolder.c_str(), nullptr);
    std::string host = "\\\\?\\unix" KEL_SERVER_PROGRAM;
    std::replace(host.begin(), host.end(), '/', '\\');
    ASSERT_TRUE(::CopyFileA(host.c_str(), ServerProgram.c_str(), FALSE)) << ::GetLastError();

    const EngineScope engine;
    windows::WindowsPlatform machine;
    const platform::PlatformScope installed(machine.View());
    ShippedTables tables;
    tables.threats = {{.id = ThreatOfTables, .name = "Threat of tables"}};
    tables.paths = {{ThreatOfTables, modFolderPaths::TranslateToVariablePath(PathOfThreat)}};
    tables.WriteTo(ServerFolder);
}

void RemoveDataFiles(const std::string& folder) {
    WIN32_FIND_DATAA found{};
    const HANDLE search = ::FindFirstFileA((folder + "*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) {
        return;
    }
    do {
        const std::string name = found.cFileName;
        if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
            Remove(folder + name);
        } else if (name != "." && name != "..") {
            RemoveDataFiles(folder + name + "\\");
        }
    } while (::FindNextFileA(search, &found) != FALSE);
    ::FindClose(search);
}

}  // namespace

Subscription::Subscription(_ScannerCallback* callback, Handlers handlers) {
    const auto points = ComPtr<_ScannerCallback>(callback).As<IConnectionPointContainer>();
    const auto sink = ComPtr<Sink>::Adopt(new Sink(std::move(handlers)));
    EXPECT_TRUE(points);
    if (points) {
        EXPECT_EQ(points->FindConnectionPoint(__uuidof(__ScannerCallback), point_.Out()), S_OK);
        EXPECT_EQ(point_->Advise(sink.Get(), &cookie_), S_OK);
    }
}

Subscription::~Subscription() {
    Leave();
}

HRESULT Subscription::Leave() {
    if (!point_ || cookie_ == 0) {
        return CONNECT_E_NOCONNECTION;
    }
    return point_->Unadvise(std::exchange(cookie_, 0U));
}

namespace {

std::vector<DWORD> ProcessesOf(const char* program) {
    std::vector<DWORD> processes;
    const windows::FileHandle snapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32 entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = ::Process32First(snapshot.Get(), &entry); more != FALSE;
         more = ::Process32Next(snapshot.Get(), &entry)) {
        if (::lstrcmpiA(entry.szExeFile, program) == 0) {
            processes.push_back(entry.th32ProcessID);
        }
    }
    return processes;
}

// True when it ended by itself.
bool End(DWORD id, DWORD patience) {
    const windows::KernelHandle process(::OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, id));
    if (!process || ::WaitForSingleObject(process.Get(), patience) == WAIT_OBJECT_0) {
        return true;
    }
    ::TerminateProcess(process.Get(), 1);
    ::WaitForSingleObject(process.Get(), Patience);
    return false;
}

}  // namespace

std::vector<DWORD> ServerProcesses() {
    return ProcessesOf("kelThreatEngine.exe");
}

void EndServers() {
    if (const HWND form = ::FindWindowA("frmHolder", "Form1")) {
        ::PostMessageA(form, WM_CLOSE, 0, 0);
    }
    bool killed = false;
    for (const DWORD id : ServerProcesses()) {
        killed = !End(id, ServersPatience) || killed;
    }
    if (killed) {
        // Wine goes on to send clients to a server that was killed, until the service that remembers it is gone.
        for (const DWORD id : ProcessesOf("rpcss.exe")) {
            End(id, 0);
        }
    }
}

Program::Program(std::string command) {
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started{};
    EXPECT_TRUE(
        ::CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &started))
        << command << ": " << ::GetLastError();
    process_ = windows::KernelHandle(started.hProcess);
    ::CloseHandle(started.hThread);
}

Program::~Program() {
    Kill();
}

DWORD Program::ExitCode() {
    // A client that waits lets the server's calls in.
    const HANDLE process = process_.Get();
    const DWORD end = ::GetTickCount() + Patience;
    while (::MsgWaitForMultipleObjects(1, &process, FALSE, Patience, QS_ALLINPUT) == WAIT_OBJECT_0 + 1 &&
           ::GetTickCount() < end) {
        MSG message;
        while (::PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE) != FALSE) {
            ::DispatchMessageA(&message);
        }
    }
    DWORD code = 0;
    ::GetExitCodeProcess(process, &code);
    return code;
}

void Program::Kill() {
    ::TerminateProcess(process_.Get(), 99);
    ::WaitForSingleObject(process_.Get(), Patience);
}

bool SharedEvent::Wait() {
    const HANDLE event = event_.Get();
    for (;;) {
        const DWORD woken = ::MsgWaitForMultipleObjects(1, &event, FALSE, Patience, QS_ALLINPUT);
        if (woken != WAIT_OBJECT_0 + 1) {
            return woken == WAIT_OBJECT_0;
        }
        MSG message;
        while (::PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE) != FALSE) {
            ::DispatchMessageA(&message);
        }
    }
}

void ServerTest::SetUpTestSuite() {
    EndServers();
    InstallServer();
    EXPECT_EQ(Program(ServerProgram + " /RegServer").ExitCode(), 0U);
}

void ServerTest::TearDownTestSuite() {
    EndServers();
    EXPECT_EQ(Program(ServerProgram + " /UnregServer").ExitCode(), 0U);
}

void ServerTest::SetUp() {
    ASSERT_TRUE(SUCCEEDED(::OleInitialize(nullptr)));
    EndServers();
    RemoveDataFiles(DataFolder);
}

void ServerTest::TearDown() {
    manager = ComPtr<_Manager>();
    ::OleUninitialize();
    EndServers();
}

ComPtr<_Manager> ServerTest::OpenManager() {
    HRESULT outcome = S_OK;
    auto made = Create<_Manager>(__uuidof(::Manager), &outcome);
    EXPECT_EQ(outcome, S_OK);
    ComPtr<_Scanner> scanner;
    if (made && made->get_Scanner(scanner.Out()) == S_OK) {
        EXPECT_EQ(scanner->put_UserDataRootPath(Text(DataFolder)), S_OK);
    }
    return made;
}

ComPtr<_Scanner> ServerTest::BeginScan() {
    manager = OpenManager();
    ComPtr<_Scanner> scanner;
    VARIANT_BOOL done = VARIANT_FALSE;
    EXPECT_EQ(manager->get_Scanner(scanner.Out()), S_OK);
    EXPECT_EQ(scanner->InitializeScan(&done), S_OK);
    EXPECT_EQ(scanner->put_OptScanDepth(::scanshallow), S_OK);
    return scanner;
}

std::string ServerTest::FolderOfFiles(int count) {
    const std::string folder = "C:\\kelServerFiles" + std::to_string(count) + "\\";
    if (::CreateDirectoryA(folder.c_str(), nullptr) != FALSE) {
        for (int number = 0; number < count; ++number) {
            const std::string path = folder + "f" + std::to_string(number) + ".exe";
            const windows::FileHandle file(
                ::CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
            DWORD written = 0;
            ::WriteFile(file.Get(), path.data(), static_cast<DWORD>(path.size()), &written, nullptr);
        }
    }
    return folder;
}

LONG ServerTest::ScannedFiles(_Scanner* scanner) {
    ComPtr<_Scan> scan;
    LONG count = -1;
    EXPECT_EQ(scanner->get_Scan(scan.Out()), S_OK);
    if (scan) {
        EXPECT_EQ(scan->get_ScannedFileCount(&count), S_OK);
    }
    return count;
}

int ServerTest::LinesOfErrorLog(std::string_view with) {
    const windows::FileHandle log(::CreateFileA((DataFolder + "logs\\errors.log").c_str(), GENERIC_READ,
                                                FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0,
                                                nullptr));
    if (!log) {
        return 0;
    }
    std::string text(::GetFileSize(log.Get(), nullptr), '\0');
    DWORD read = 0;
    ::ReadFile(log.Get(), text.data(), static_cast<DWORD>(text.size()), &read, nullptr);
    int lines = 0;
    for (std::size_t at = text.find(with); at != std::string::npos; at = text.find(with, at + 1)) {
        ++lines;
    }
    return lines;
}

std::string ClientCommand(std::string_view name) {
    char path[MAX_PATH] = {};
    ::GetModuleFileNameA(nullptr, path, MAX_PATH);
    return "\"" + std::string(path) + "\" --client " + std::string(name);
}

}  // namespace kel::test
