// Calls and events across processes, of the engine's server and of one that only answers, in turns.
//
// automation_bench BARE_SERVER.exe [FILES]: both servers are registered; the figures go to the output.
#include <kelThreatEngine.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "Bare.h"
#include "automation/Convert.h"
#include "automation/Objects.h"
#include "core/EngineState.h"
#include "platform/Platform.h"
#include "results/Scan.h"
#include "support/ShippedTables.h"
#include "windows/Win32.h"
#include "windows/WindowsPlatform.h"

namespace kel::bench {

namespace {

using automation::ComPtr;
using automation::ToBstr;
using automation::Variant;

// Short rounds and many: the best of them was not disturbed by what else the machine does.
constexpr int Rounds = 150;
constexpr int CallsOfRound = 40;

double Seconds() {
    LARGE_INTEGER now;
    LARGE_INTEGER frequency;
    ::QueryPerformanceCounter(&now);
    ::QueryPerformanceFrequency(&frequency);
    return static_cast<double>(now.QuadPart) / static_cast<double>(frequency.QuadPart);
}

double Time(const std::function<void()>& work) {
    const double start = Seconds();
    work();
    return Seconds() - start;
}

class Sink final : public IDispatch {
public:
    explicit Sink(bool handlesLocations) : handlesLocations_(handlesLocations) {}
    STDMETHODIMP QueryInterface(REFIID id, void** out) override {
        *out = id == IID_IUnknown || id == IID_IDispatch || id == __uuidof(__ScannerCallback) ? this : nullptr;
        return *out == nullptr ? E_NOINTERFACE : S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP GetTypeInfoCount(UINT* count) override {
        *count = 0;
        return S_OK;
    }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return DISP_E_BADINDEX; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return DISP_E_UNKNOWNNAME; }
    STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        ++heard;
        return handlesLocations_ || (id != 1 && id != 4) ? S_OK : DISP_E_MEMBERNOTFOUND;
    }

    long heard = 0;

private:
    bool handlesLocations_;
};

void Check(HRESULT outcome, const char* what) {
    if (FAILED(outcome)) {
        std::printf("%s: 0x%08lX\n", what, static_cast<unsigned long>(outcome));
        std::fflush(stdout);
        std::exit(1);
    }
}

template <class Interface>
ComPtr<Interface> Make(const CLSID& id) {
    ComPtr<Interface> made;
    Check(
        ::CoCreateInstance(id, nullptr, CLSCTX_LOCAL_SERVER, __uuidof(Interface), reinterpret_cast<void**>(made.Out())),
        "activation");
    return made;
}

void Late(IDispatch* object, DISPID id, std::vector<VARIANT> lastFirst, WORD kinds = DISPATCH_METHOD) {
    DISPPARAMS parameters{lastFirst.data(), nullptr, static_cast<UINT>(lastFirst.size()), 0};
    Variant result;
    Check(object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, kinds, &parameters, result.Out(), nullptr, nullptr),
          "call");
}

// In turns, so that both have the machine's good and bad moments. The best round of each counts.
// @return seconds of a call of the engine
double Compare(const char* what, int calls, const std::function<void()>& bare, const std::function<void()>& engine) {
    double best[2] = {1e9, 1e9};
    for (int round = 0; round < Rounds; ++round) {
        const std::function<void()>* works[] = {&bare, &engine};
        for (int side = 0; side < 2; ++side) {
            const int which = (round + side) % 2;
            best[which] = std::min(best[which], Time([&] {
                                       for (int call = 0; call < calls; ++call) {
                                           (*works[which])();
                                       }
                                   }));
        }
    }
    std::printf("%-34s bare %7.0f/s   engine %7.0f/s   engine's own share %5.1f %%\n", what, calls / best[0],
                calls / best[1], 100.0 * (best[1] - best[0]) / best[1]);
    std::fflush(stdout);
    return best[1] / calls;
}

void RegisterBare(const char* program) {
    windows::KeyHandle key;
    const std::string path = "Software\\Classes\\CLSID\\{3A0C56D1-7D6B-4B3A-9D52-1E607F0A4421}\\LocalServer32";
    ::RegCreateKeyA(HKEY_LOCAL_MACHINE, path.c_str(), key.Out());
    ::RegSetValueExA(key.Get(), nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(program),
                     static_cast<DWORD>(std::char_traits<char>::length(program) + 1));
}

// What a call by number costs in the engine's own code, without the way between the processes.
void TimeOwnCode(double secondsAcross) {
    const EngineScope engine;
    windows::WindowsPlatform machine;
    const platform::PlatformScope installed(machine.View());
    const auto scan = automation::Wrap(std::make_shared<kel::Scan>()).As<IDispatch>();
    constexpr int calls = 200000;
    double best = 1e9;
    for (int round = 0; round < 5; ++round) {
        best = std::min(best, Time([&] {
                            for (int call = 0; call < calls; ++call) {
                                Late(scan.Get(), 1, {}, DISPATCH_PROPERTYGET);
                            }
                        }));
    }
    std::printf("a property read in the engine's code %.2f us of the %.0f us across processes: %.2f %%\n",
                1e6 * best / calls, 1e6 * secondsAcross, 100.0 * best / calls / secondsAcross);
    std::fflush(stdout);
}

void CompareCalls() {
    const auto bare = Make<IDispatch>(BareServer);
    const auto scan = Make<_Scan>(__uuidof(::Scan));
    const auto late = scan.As<IDispatch>();
    Compare(
        "activations", CallsOfRound / 4, [] { Make<IDispatch>(BareServer); },
        [] { Make<IDispatch>(__uuidof(::Settings)); });
    const double read = Compare(
        "property reads, by number", CallsOfRound, [&] { Late(bare.Get(), BareText, {}, DISPATCH_PROPERTYGET); },
        [&] { Late(late.Get(), 1, {}, DISPATCH_PROPERTYGET); });
    TimeOwnCode(read);
    Compare(
        "property reads, by method table", CallsOfRound, [&] { Late(bare.Get(), BareText, {}, DISPATCH_PROPERTYGET); },
        [&] {
            BSTR text = nullptr;
            Check(scan->get_ScanID(&text), "read");
            ::SysFreeString(text);
        });

    Sink sink(true);
    Late(bare.Get(), BareSubscribe, {Variant(static_cast<IDispatch*>(&sink)).Get()});
    const auto callback = Make<_ScannerCallback>(__uuidof(::ScannerCallback));
    ComPtr<IConnectionPoint> point;
    DWORD cookie = 0;
    Check(callback.As<IConnectionPointContainer>()->FindConnectionPoint(__uuidof(__ScannerCallback), point.Out()),
          "events");
    Check(point->Advise(&sink, &cookie), "events");
    const auto lateCallback = callback.As<IDispatch>();
    const Variant location("C:\\folder\\file.exe");
    Compare(
        "calls with an event inside", CallsOfRound, [&] { Late(bare.Get(), BareEvent, {}); },
        [&] {
            Late(lateCallback.Get(), 1, {Variant(1).Get(), Variant(2).Get(), location.Get()});
        });
    point->Unadvise(cookie);
}

void MakeFiles(int files) {
    ::CreateDirectoryA("C:\\many", nullptr);
    for (int number = 0; number < files; ++number) {
        const std::string folder = "C:\\many\\d" + std::to_string(number / 500);
        if (number % 500 == 0 && ::CreateDirectoryA(folder.c_str(), nullptr) == FALSE) {
            number += 499;
            continue;
        }
        const std::string path = folder + "\\f" + std::to_string(number) + ".exe";
        windows::FileHandle(
            ::CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    }
}

struct ScanTime {
    double seconds = 0;
    long events = 0;
};

ScanTime TimeScan(_Scanner* scanner, Sink* sink) {
    VARIANT_BOOL done = VARIANT_FALSE;
    ComPtr<_Scan> scan;
    ComPtr<_ScannerCallback> callback;
    Check(scanner->InitializeScan(&done), "scan");
    Check(scanner->put_OptScanDepth(::scanshallow), "scan");
    Check(scanner->get_Scan(scan.Out()), "scan");
    Check(scan->get_Callback(callback.Out()), "scan");
    ComPtr<IConnectionPoint> point;
    DWORD cookie = 0;
    if (sink != nullptr) {
        Check(callback.As<IConnectionPointContainer>()->FindConnectionPoint(__uuidof(__ScannerCallback), point.Out()),
              "events");
        Check(point->Advise(sink, &cookie), "events");
    }
    const BSTR folder = ToBstr("C:\\many\\");
    ScanTime time;
    time.seconds = Time([&] { Check(scanner->ScanFolder(folder, VARIANT_TRUE, VARIANT_FALSE), "scan"); });
    ::SysFreeString(folder);
    if (sink != nullptr) {
        time.events = sink->heard;
        point->Unadvise(cookie);
    }
    return time;
}

void MakeTables() {
    const EngineScope engine;
    windows::WindowsPlatform machine;
    const platform::PlatformScope installed(machine.View());
    test::ShippedTables().WriteTo("C:\\bench\\");
}

void CompareScans(int files) {
    MakeFiles(files);
    MakeTables();
    const auto manager = Make<_Manager>(__uuidof(::Manager));
    ComPtr<_Scanner> scanner;
    Check(manager->get_Scanner(scanner.Out()), "scanner");
    const BSTR data = ToBstr("C:\\benchdata\\");
    Check(scanner->put_UserDataRootPath(data), "data");
    ::SysFreeString(data);

    TimeScan(scanner.Get(), nullptr);
    const ScanTime alone = TimeScan(scanner.Get(), nullptr);
    Sink full(true);
    const ScanTime heard = TimeScan(scanner.Get(), &full);
    Sink partial(false);
    const ScanTime partly = TimeScan(scanner.Get(), &partial);

    const auto bare = Make<IDispatch>(BareServer);
    Sink floor(true);
    Late(bare.Get(), BareSubscribe, {Variant(static_cast<IDispatch*>(&floor)).Get()});
    const double events =
        Time([&] { Late(bare.Get(), BareEvents, {Variant(static_cast<std::int32_t>(heard.events / 2)).Get()}); });
    std::printf("scan of %d files, shallow            %7.2f s\n", files, alone.seconds);
    std::printf("  with a client that hears all        %7.2f s, %ld events, %.2f times\n", heard.seconds, heard.events,
                heard.seconds / alone.seconds);
    std::printf("  with one that hears findings alone  %7.2f s, %ld events, %.2f times\n", partly.seconds,
                partly.events, partly.seconds / alone.seconds);
    std::printf("  the same events of the bare server  %7.2f s; scan with client %.2f times scan and events\n", events,
                heard.seconds / (alone.seconds + events));
}

}  // namespace

}  // namespace kel::bench

int main(int argc, char** argv) {
    if (argc < 2) {
        std::printf("usage: automation_bench BARE_SERVER.exe [FILES]\n");
        return 64;
    }
    ::OleInitialize(nullptr);
    kel::bench::RegisterBare(argv[1]);
    kel::bench::CompareCalls();
    kel::bench::CompareScans(argc > 2 ? std::atoi(argv[2]) : 50000);
    std::fflush(stdout);
    // Both servers end when their forms are closed.
    ::PostMessageA(::FindWindowA("frmHolder", "Form1"), WM_CLOSE, 0, 0);
    ::PostMessageA(::FindWindowA("Static", "bare"), WM_QUIT, 0, 0);
    ::OleUninitialize();
    return 0;
}
