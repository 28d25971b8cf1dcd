// Second clients, each a process of its own.
#include <array>
#include <cstring>

#include "ServerTest.h"

namespace kel::test {

namespace {

ComPtr<_Scanner> ScannerOf(_Manager* manager) {
    ComPtr<_Scanner> scanner;
    manager->get_Scanner(scanner.Out());
    return scanner;
}

// Is started beside others when no server runs.
int Activate() {
    SharedEvent go("kel.go");
    SharedEvent("kel.ready").Set();
    go.Wait();
    HRESULT outcome = S_OK;
    const auto manager = Create<_Manager>(__uuidof(::Manager), &outcome);
    VARIANT_BOOL answer = VARIANT_FALSE;
    return manager ? manager->Inititalize(LanguageEnglish, VersionTypeClient, &answer) : outcome;
}

// Ends the scan of another client when it sees that it is under way.
int AbortRunningScan() {
    const auto manager = Create<_Manager>(__uuidof(::Manager));
    const ComPtr<_Scanner> scanner = ScannerOf(manager.Get());
    SharedEvent("kel.ready").Set();
    SharedEvent ended("kel.ended");
    while (!ended.IsSet()) {
        ComPtr<_Scan> scan;
        LONG count = 0;
        scanner->get_Scan(scan.Out());
        if (scan && scan->get_ScannedFileCount(&count) == S_OK && count > 0) {
            return scanner->AbortScan(Text("second client"));
        }
    }
    return 1;
}

int AbortScan() {
    const auto manager = Create<_Manager>(__uuidof(::Manager));
    return ScannerOf(manager.Get())->AbortScan(Text("second client"));
}

// Is killed while the server waits for it, in an event of its own call.
int HangInEvent() {
    const auto manager = Create<_Manager>(__uuidof(::Manager));
    const ComPtr<_Scanner> scanner = ScannerOf(manager.Get());
    VARIANT_BOOL done = VARIANT_FALSE;
    ComPtr<_Scan> scan;
    ComPtr<_ScannerCallback> callback;
    scanner->put_UserDataRootPath(Text(DataFolder));
    scanner->InitializeScan(&done);
    scanner->put_OptScanDepth(::scanshallow);
    scanner->get_Scan(scan.Out());
    scan->get_Callback(callback.Out());
    Handlers handlers;
    handlers.StartingLocation = [](const std::string&, LONG, LONG) {
        SharedEvent("kel.inevent").Set();
        ::Sleep(INFINITE);
        return S_OK;
    };
    const Subscription subscription(callback.Get(), std::move(handlers));
    return scanner->ScanFolder(Text("C:\\kelServerFiles300\\"), VARIANT_FALSE, VARIANT_FALSE);
}

// 1 when the threat is ignored, 0 when not.
int ReadIgnored() {
    const auto manager = Create<_Manager>(__uuidof(::Manager));
    VARIANT_BOOL loaded = VARIANT_FALSE;
    return SUCCEEDED(manager->IsInititalized(&loaded)) && loaded == VARIANT_TRUE ? 1 : 0;
}

struct Client {
    std::string_view name;
    int (*run)();
};
constexpr std::array Clients{
    Client{"activate", Activate},        Client{"abort-running-scan", AbortRunningScan},
    Client{"abort-scan", AbortScan},     Client{"hang-in-event", HangInEvent},
    Client{"read-ignored", ReadIgnored},
};

}  // namespace

int RunClient(std::string_view name) {
    if (FAILED(::OleInitialize(nullptr))) {
        return 97;
    }
    for (const Client& client : Clients) {
        if (client.name == name) {
            const int code = client.run();
            ::OleUninitialize();
            return code;
        }
    }
    return 98;
}

}  // namespace kel::test

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "--client") == 0) {
        return kel::test::RunClient(argv[2]);
    }
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
