// Paths: their variable forms, and the way from a path to a file of an offline disk.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include "core/EngineState.h"
#include "offline/OfflinePlatform.h"
#include "system/clsFolderPaths.h"

namespace {

namespace fs = std::filesystem;
using namespace kel;

constexpr int Files = 200;

// A disk with one deep folder of files, for the life of the program.
class Disk {
public:
    Disk() : folder_(fs::temp_directory_path() / ("kel-path-" + std::to_string(getpid()))) {
        const fs::path deep = folder_ / "Program Files" / "Some Vendor" / "Program";
        fs::create_directories(deep);
        for (int number = 0; number < Files; ++number) {
            std::ofstream(deep / ("program " + std::to_string(number) + ".exe")) << number;
        }
        offline::MachineOptions options;
        options.drives = {{'C', folder_}};
        machine_.emplace(options);
        installed_.emplace(machine_->View());
    }
    ~Disk() {
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
    }
    Disk(const Disk&) = delete;
    Disk& operator=(const Disk&) = delete;

private:
    fs::path folder_;
    std::optional<offline::OfflinePlatform> machine_;
    std::optional<platform::PlatformScope> installed_;
    EngineScope scope_;
};

std::string PathOf(int number, bool asListed) {
    return (asListed ? "C:\\Program Files\\Some Vendor\\Program\\program "
                     : "c:\\program files\\some vendor\\program\\PROGRAM ") +
           std::to_string(number) + ".exe";
}

void ToVariableForm(benchmark::State& state) {
    const Disk disk;
    clsFolderPaths folders;
    folders.LoadFolderPaths();
    const std::string path = state.range(0) == 0 ? "C:\\Windows\\System32\\drivers\\program.sys" : PathOf(1, true);
    for (auto _ : state) {
        benchmark::DoNotOptimize(folders.TranslateToVariablePath(path));
    }
}
BENCHMARK(ToVariableForm)->ArgName("outside")->Arg(0)->Arg(1);

void FromVariableForm(benchmark::State& state) {
    const Disk disk;
    clsFolderPaths folders;
    folders.LoadFolderPaths();
    const std::string path = state.range(0) == 0 ? "%programfiles%\\vendor\\program.exe" : "c:\\vendor\\program.exe";
    for (auto _ : state) {
        benchmark::DoNotOptimize(folders.TranslateFromVariablePath(path));
    }
}
BENCHMARK(FromVariableForm)->ArgName("plain")->Arg(0)->Arg(1);

// A walk's question for each of its files, spelled as listed, and a signature's, in other letters.
void LengthOfAFile(benchmark::State& state) {
    const Disk disk;
    int number = 0;
    for (auto _ : state) {
        if (!platform::Current().files->Length(PathOf(number, state.range(0) != 0))) {
            state.SkipWithError("a file was not found");
        }
        number = (number + 1) % Files;
    }
}
BENCHMARK(LengthOfAFile)->ArgName("as listed")->Arg(1)->Arg(0);

void FileThatIsNotThere(benchmark::State& state) {
    const Disk disk;
    const std::string path = state.range(0) == 0 ? "C:\\Program Files\\Some Vendor\\Program\\none.exe"
                                                 : "C:\\No Folder\\Some Vendor\\Program\\none.exe";
    for (auto _ : state) {
        benchmark::DoNotOptimize(platform::Current().files->PathExists(path));
    }
}
BENCHMARK(FileThatIsNotThere)->ArgName("nor its folder")->Arg(0)->Arg(1);

void EnumerateNames(benchmark::State& state) {
    const Disk disk;
    platform::Files& files = *platform::Current().files;
    for (auto _ : state) {
        platform::FindData entry;
        auto find = files.FindNames("C:\\Program Files\\Some Vendor\\Program\\*.*", entry);
        int count = 1;
        while (find && (*find)->Next(entry) == platform::SysError::Success) {
            ++count;
        }
        if (count != Files + 2) {
            state.SkipWithError("not all were listed");
        }
    }
    state.SetItemsProcessed(state.iterations() * Files);
}
BENCHMARK(EnumerateNames);

}  // namespace

BENCHMARK_MAIN();
