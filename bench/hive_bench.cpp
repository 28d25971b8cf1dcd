// Opening, walking and finding in a large hive that our own writer made, beside hivex in the same run.
//
//   hive_bench              a SOFTWARE hive of about 60 MB, made in a temporary folder
#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "hive/Hive.h"
#include "hive/NewHive.h"
#include "offline/HiveFile.h"

namespace {

using kel::offline::Hive;
using kel::offline::HiveFile;
using kel::offline::KeyId;

constexpr unsigned Classes = 45'000;

std::u16string Wide(const std::string& text) {
    return {text.begin(), text.end()};
}

std::vector<std::byte> Text(const std::string& text) {
    std::vector<std::byte> bytes;
    for (const char c : text + '\0') {
        bytes.push_back(static_cast<std::byte>(c));
        bytes.push_back(std::byte{0});
    }
    return bytes;
}

std::string ClassId(unsigned number) {
    char text[48];
    std::snprintf(text, sizeof text, "{%08X-4C3A-11D2-%04X-00C04F%06X}", number * 2654435761U, number & 0xFFFF,
                  number * 40503U & 0xFFFFFF);
    return text;
}

/// 45,000 classes of six keys and seven values each.
void Fill(Hive& hive) {
    const KeyId classes = hive.CreateKey(hive.Root(), u"Classes").Value();
    const KeyId clsid = hive.CreateKey(classes, u"CLSID").Value();
    for (unsigned i = 0; i < Classes; ++i) {
        const KeyId key = hive.CreateKey(clsid, Wide(ClassId(i))).Value();
        const auto set = [&hive](KeyId of, const std::string& name, const std::string& text) {
            hive.SetValue(of, Wide(name), 1, Text(text));
        };
        set(key, "", "Sample component number " + std::to_string(i));
        const KeyId server = hive.CreateKey(key, u"InprocServer32").Value();
        set(server, "", "C:\\Program Files\\Common Files\\Sample\\component" + std::to_string(i) + ".dll");
        set(server, "ThreadingModel", "Apartment");
        set(hive.CreateKey(key, u"ProgID").Value(), "", "Sample.Component" + std::to_string(i) + ".1");
        set(hive.CreateKey(key, u"VersionIndependentProgID").Value(), "", "Sample.Component" + std::to_string(i));
        set(hive.CreateKey(key, u"TypeLib").Value(), "", ClassId(i + Classes));
        set(hive.CreateKey(key, u"Version").Value(), "", "1.0");
    }
    hive.SetValue(hive.Root(), u"Padding", 3, std::vector<std::byte>(1 << 20, std::byte{1}));
}

/// The file that all measurements read; removed at the end.
class Sample {
public:
    Sample() : path_(std::filesystem::temp_directory_path() / ("hive_bench-" + std::to_string(::getpid()) + ".hiv")) {
        kel::offline::regf::HiveImage image;
        image.Assign(kel::offline::regf::MakeHive(5, u"ROOT", 0));
        Hive hive(std::move(image));
        Fill(hive);
        const auto bytes = hive.Render();
        std::ofstream(path_, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        std::printf("hive of %zu bytes\n", bytes.size());
    }
    ~Sample() { std::filesystem::remove(path_); }
    [[nodiscard]] const std::filesystem::path& Path() const { return path_; }

private:
    std::filesystem::path path_;
};

Sample& TheSample() {
    static Sample sample;
    return sample;
}

std::unique_ptr<HiveFile> Open() {
    return HiveFile::Open(TheSample().Path(), {});
}

void OurOpen(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(Open());
}
BENCHMARK(OurOpen)->Unit(benchmark::kMillisecond);

/// Every key's name and time, every value's name, type and data.
void OurWalk(benchmark::State& state) {
    std::size_t keys = 0;
    std::size_t values = 0;
    for (auto _ : state) {
        state.PauseTiming();
        const auto hive = Open();
        state.ResumeTiming();
        const auto& reader = hive->Reader();
        std::vector<std::uint32_t> found;
        std::vector<std::byte> data;
        std::size_t sum = 0;
        keys = values = 0;
        reader.ForEachKey([&](std::uint32_t key, std::uint32_t) {
            ++keys;
            sum += reader.KeyName(key).Length() + reader.LastWritten(key);
            reader.Values(key, found);
            for (const std::uint32_t value : found) {
                ++values;
                reader.Data(value, data);
                sum += reader.ValueName(value).Length() + reader.ValueType(value) + data.size();
            }
        });
        benchmark::DoNotOptimize(sum);
    }
    state.counters["keys"] = static_cast<double>(keys);
    state.counters["values"] = static_cast<double>(values);
}
BENCHMARK(OurWalk)->Unit(benchmark::kMillisecond);

void OurFindOneOf45000(benchmark::State& state) {
    const auto hive = Open();
    const KeyId clsid = hive->FindKey(hive->FindKey(hive->Root(), u"Classes"), u"CLSID");
    std::vector<std::u16string> names;
    for (unsigned i = 0; i < 1000; ++i)
        names.push_back(Wide(ClassId(i * 7919 % Classes)));
    std::size_t next = 0;
    if (hive->FindKey(clsid, names[0]) == kel::offline::NoKey)
        state.SkipWithError("not found");
    for (auto _ : state)
        benchmark::DoNotOptimize(hive->FindKey(clsid, names[next++ % names.size()]));
}
BENCHMARK(OurFindOneOf45000)->Unit(benchmark::kMicrosecond);

void OurIndexOf45000(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        const auto hive = Open();
        const KeyId clsid = hive->FindKey(hive->FindKey(hive->Root(), u"Classes"), u"CLSID");
        state.ResumeTiming();
        benchmark::DoNotOptimize(hive->FindKey(clsid, u"none"));
    }
}
BENCHMARK(OurIndexOf45000)->Unit(benchmark::kMillisecond);

// hivex, loaded at run time so that it stays a peer and no dependency.
struct Hivex {
    using Handle = void*;
    using Number = std::size_t;
    Handle (*open)(const char*, int) = nullptr;
    int (*close)(Handle) = nullptr;
    Number (*root)(Handle) = nullptr;
    Number* (*children)(Handle, Number) = nullptr;
    Number* (*values)(Handle, Number) = nullptr;
    char* (*nodeName)(Handle, Number) = nullptr;
    std::int64_t (*time)(Handle, Number) = nullptr;
    char* (*valueKey)(Handle, Number) = nullptr;
    char* (*value)(Handle, Number, int*, std::size_t*) = nullptr;
    Number (*child)(Handle, Number, const char*) = nullptr;
    bool loaded = false;

    Hivex() {
        void* library = ::dlopen("libhivex.so.0", RTLD_NOW);
        if (library == nullptr)
            return;
        const auto load = [library](auto& function, const char* name) {
            function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(::dlsym(library, name));
            return function != nullptr;
        };
        loaded = load(open, "hivex_open") && load(close, "hivex_close") && load(root, "hivex_root") &&
                 load(children, "hivex_node_children") && load(values, "hivex_node_values") &&
                 load(nodeName, "hivex_node_name") && load(time, "hivex_node_timestamp") &&
                 load(valueKey, "hivex_value_key") && load(value, "hivex_value_value") &&
                 load(child, "hivex_node_get_child");
    }
};

const Hivex& Peer() {
    static const Hivex hivex;
    return hivex;
}

bool Missing(benchmark::State& state) {
    if (!Peer().loaded)
        state.SkipWithError("libhivex is not installed");
    return !Peer().loaded;
}

void HivexOpen(benchmark::State& state) {
    if (Missing(state))
        return;
    for (auto _ : state) {
        void* handle = Peer().open(TheSample().Path().c_str(), 0);
        benchmark::DoNotOptimize(handle);
        Peer().close(handle);
    }
}
BENCHMARK(HivexOpen)->Unit(benchmark::kMillisecond);

void HivexWalk(benchmark::State& state) {
    if (Missing(state))
        return;
    const Hivex& hivex = Peer();
    std::size_t keys = 0;
    std::size_t values = 0;
    for (auto _ : state) {
        state.PauseTiming();
        void* handle = hivex.open(TheSample().Path().c_str(), 0);
        state.ResumeTiming();
        std::vector<Hivex::Number> pending{hivex.root(handle)};
        std::size_t sum = 0;
        keys = values = 0;
        while (!pending.empty()) {
            const Hivex::Number key = pending.back();
            pending.pop_back();
            ++keys;
            char* name = hivex.nodeName(handle, key);
            sum += static_cast<unsigned char>(name[0]) + static_cast<std::size_t>(hivex.time(handle, key));
            std::free(name);
            Hivex::Number* list = hivex.values(handle, key);
            for (std::size_t i = 0; list[i] != 0; ++i) {
                ++values;
                char* valueName = hivex.valueKey(handle, list[i]);
                int type = 0;
                std::size_t size = 0;
                char* data = hivex.value(handle, list[i], &type, &size);
                sum += size + static_cast<std::size_t>(type) + static_cast<unsigned char>(valueName[0]);
                std::free(valueName);
                std::free(data);
            }
            std::free(list);
            list = hivex.children(handle, key);
            for (std::size_t i = 0; list[i] != 0; ++i)
                pending.push_back(list[i]);
            std::free(list);
        }
        benchmark::DoNotOptimize(sum);
        state.PauseTiming();
        hivex.close(handle);
        state.ResumeTiming();
    }
    state.counters["keys"] = static_cast<double>(keys);
    state.counters["values"] = static_cast<double>(values);
}
BENCHMARK(HivexWalk)->Unit(benchmark::kMillisecond);

void HivexFindOneOf45000(benchmark::State& state) {
    if (Missing(state))
        return;
    void* handle = Peer().open(TheSample().Path().c_str(), 0);
    const Hivex::Number clsid = Peer().child(handle, Peer().child(handle, Peer().root(handle), "Classes"), "CLSID");
    unsigned next = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(Peer().child(handle, clsid, ClassId(next++ * 7919 % Classes).c_str()));
    Peer().close(handle);
}
BENCHMARK(HivexFindOneOf45000)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
