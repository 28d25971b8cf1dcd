// Our MD5 beside OpenSSL's in the same run: one stream, and as many texts at once as each kernel has lanes.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "system/Md5.h"
#include "system/Md5Lanes.h"

namespace {

std::vector<std::byte> Bytes(std::size_t size) {
    std::vector<std::byte> bytes(size);
    unsigned state = 1;
    for (std::byte& byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<std::byte>(state >> 24U);
    }
    return bytes;
}

void Ours(benchmark::State& state) {
    const auto bytes = Bytes(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        kel::Md5 md5;
        md5.Update(bytes);
        benchmark::DoNotOptimize(md5.Finish());
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void OpenSsl(benchmark::State& state) {
    const auto bytes = Bytes(static_cast<std::size_t>(state.range(0)));
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned length = 0;
    for (auto _ : state) {
        EVP_Digest(bytes.data(), bytes.size(), digest, &length, EVP_md5(), nullptr);
        benchmark::DoNotOptimize(digest);
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

// A text in every lane, each in bytes of its own.
void Lanes(benchmark::State& run, const kel::Md5Kernel& kernel) {
    const auto size = static_cast<std::size_t>(run.range(0));
    const std::size_t stride = size + kel::Md5BlockBytes;  // no two lanes on the same lines of the cache
    const auto bytes = Bytes(kernel.lanes * stride);
    std::array<const std::byte*, kel::MaxMd5Lanes> data{};
    alignas(64) std::array<std::uint32_t, 4 * kel::MaxMd5Lanes> state{};
    for (std::size_t lane = 0; lane < kernel.lanes; ++lane) {
        data[lane] = bytes.data() + lane * stride;
    }
    for (auto _ : run) {
        kernel.transform(state.data(), data.data(), size / kel::Md5BlockBytes);
        benchmark::DoNotOptimize(state);
    }
    run.SetBytesProcessed(run.iterations() * static_cast<std::int64_t>(kernel.lanes * size));
}

}  // namespace

BENCHMARK(Ours)->Arg(1000)->Arg(65536)->Arg(2500000);
BENCHMARK(OpenSsl)->Arg(1000)->Arg(16384)->Arg(65536)->Arg(2500000);

int main(int argc, char** argv) {
    for (const kel::Md5Kernel& kernel : kel::Md5Kernels()) {
        benchmark::RegisterBenchmark((std::string("Lanes/") + kernel.name).c_str(),
                                     [&kernel](benchmark::State& state) { Lanes(state, kernel); })
            ->Arg(1024)
            ->Arg(16384)
            ->Arg(65536);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
