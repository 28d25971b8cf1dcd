// Zip archives: the directory, the names, and every entry's bytes, under limits that keep each run short.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "archive/ZipNames.h"
#include "archive/ZipReader.h"

namespace {

constexpr kel::archive::ZipLimits Limits{.entries = 200,
                                         .nameBytes = 1'000,
                                         .totalBytes = 1U << 20,
                                         .fileBytes = 1U << 19,
                                         .ratio = 200,
                                         .ratioCountsAboveBytes = 1U << 16};

void Check(bool condition) {
    if (!condition) {
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace kel::archive;
    ZipReader reader(std::as_bytes(std::span(data, size)), Limits);
    if (reader.ReadDirectory() != UnzipDone) {
        Check(reader.Entries().empty());
        return 0;
    }
    std::uint64_t total = 0;
    for (const ZipEntry& entry : reader.Entries()) {
        if (const auto path = SafePath(entry.name)) {
            Check(path->find("..\\") == std::string::npos && !path->starts_with('\\') &&
                  path->find(':') == std::string::npos);
        }
        std::uint64_t bytes = 0;
        const UnzipResult result = reader.Extract(entry, [&](std::span<const std::byte> part) {
            bytes += part.size();
            return true;
        });
        Check(bytes <= entry.bytes);
        Check(result != UnzipDone || bytes == entry.bytes);
        total += bytes;
    }
    Check(total <= Limits.totalBytes);
    return 0;
}
