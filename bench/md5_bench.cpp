// Our MD5 beside OpenSSL's, one stream, in the same run.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include <cstddef>
#include <vector>

#include "system/Md5.h"

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

}  // namespace

BENCHMARK(Ours)->Arg(1000)->Arg(65536)->Arg(2500000);
BENCHMARK(OpenSsl)->Arg(1000)->Arg(65536)->Arg(2500000);

BENCHMARK_MAIN();
