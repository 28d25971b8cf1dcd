// Version resources: the whole input as a program file, and as a block.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

#include "offline/ProgramResources.h"
#include "offline/VersionTree.h"

namespace {

// A file that is the input.
class InputFile : public kel::platform::OpenFile {
public:
    explicit InputFile(std::span<const std::byte> bytes) : bytes_(bytes) {}

    kel::platform::Result<std::size_t> Read(std::span<std::byte> into) override {
        const std::size_t left = position_ < bytes_.size() ? bytes_.size() - static_cast<std::size_t>(position_) : 0;
        const std::size_t count = std::min(left, into.size());
        if (count > 0) {
            std::memcpy(into.data(), bytes_.data() + position_, count);
        }
        position_ += count;
        return count;
    }
    kel::platform::SysError Write(std::span<const std::byte>) override { return kel::platform::SysError::AccessDenied; }
    kel::platform::SysError Seek(std::uint64_t position) override {
        position_ = position;
        return kel::platform::SysError::Success;
    }
    kel::platform::SysError SetEnd() override { return kel::platform::SysError::AccessDenied; }
    kel::platform::Result<std::uint64_t> Size() override { return std::uint64_t{bytes_.size()}; }
    kel::platform::SysError Flush() override { return kel::platform::SysError::Success; }

private:
    std::span<const std::byte> bytes_;
    std::uint64_t position_ = 0;
};

void Ask(std::string block) {
    const kel::offline::VersionTree tree(std::move(block));
    for (const char* query : {"\\", "\\VarFileInfo\\Translation", "\\StringFileInfo\\040904E4\\CompanyName",
                              "\\StringFileInfo\\040904B0\\InternalName"}) {
        (void)tree.Query(query);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    InputFile file(std::as_bytes(std::span(data, size)));
    if (auto block = kel::offline::ReadVersionResource(file)) {
        Ask(std::move(block).Value());
    }
    Ask(std::string(reinterpret_cast<const char*>(data), size));
    return 0;
}
