// Registry text of a Wine prefix: whatever is read can be walked, changed and written, and reads back the same.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "offline/OfflinePlatform.h"
#include "offline/WineRegistryFile.h"

namespace {

using kel::offline::KeyId;
using kel::offline::WineRegistryFile;

// Keys and values below a key, as one number that changes when any of them does.
std::uint64_t Walk(const WineRegistryFile& file, KeyId key, std::uint64_t sum) {
    const auto mix = [&sum](std::uint64_t number) { sum = (sum ^ number) * 0x100000001B3ULL; };
    for (const char16_t c : file.KeyName(key)) {
        mix(c);
    }
    for (std::uint32_t index = 0; index < file.ValueCount(key); ++index) {
        const auto value = file.ValueAt(key, index);
        if (!value) {
            std::abort();
        }
        mix(value->type);
        for (const char16_t c : value->name) {
            mix(c);
        }
        for (const std::byte byte : value->data) {
            mix(static_cast<std::uint64_t>(byte));
        }
    }
    for (std::uint32_t index = 0; index < file.KeyCount(key); ++index) {
        sum = Walk(file, file.KeyAt(key, index), sum);
    }
    return sum;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        const std::string text(reinterpret_cast<const char*>(data), size);
        const auto file = WineRegistryFile::FromText(text, "input");
        if (file->Render() != text) {
            std::abort();  // nothing changed, so nothing may differ
        }
        const std::uint64_t before = Walk(*file, file->Root(), 1);
        const auto key = file->CreateKey(file->Root(), u"Fuzz");
        if (key) {
            file->SetValue(*key, u"name", 3, std::as_bytes(std::span(text).first(text.size() % 97)));
        }
        const std::uint64_t after = Walk(*file, file->Root(), 1);
        const auto again = WineRegistryFile::FromText(file->Render(), "rendered");
        if (Walk(*again, again->Root(), 1) != after || (key && before == after)) {
            std::abort();
        }
    } catch (const kel::offline::OpenError&) {
        // Refused with a message: what foreign text is met with.
    }
    return 0;
}
