#include "windows/WindowsVersions.h"

#include <windows.h>

#include <algorithm>
#include <cstring>

#include "windows/Win32.h"

namespace kel::windows {

namespace {

using platform::Result;
using platform::SysError;

class WindowsVersionBlock final : public platform::VersionBlock {
public:
    explicit WindowsVersionBlock(std::vector<char> block) : block_(std::move(block)) {}

    [[nodiscard]] std::optional<std::string> Query(std::string_view subBlock) const override {
        void* found = nullptr;
        UINT length = 0;
        if (::VerQueryValueA(block_.data(), std::string(subBlock).c_str(), &found, &length) == FALSE ||
            found == nullptr) {
            return std::nullopt;
        }
        // What a damaged block says about itself is not taken further than the block goes.
        const auto* start = static_cast<const char*>(found);
        const char* end = block_.data() + block_.size();
        if (start < block_.data() || start > end) {
            return std::nullopt;
        }
        return std::string(start, std::min<std::size_t>(length, static_cast<std::size_t>(end - start)));
    }

private:
    mutable std::vector<char> block_;  // the call writes converted text behind the block's own bytes
};

}  // namespace

Result<std::uint32_t> WindowsVersions::Size(std::string_view path) {
    DWORD ignored = 0;
    const DWORD size = ::GetFileVersionInfoSizeA(std::string(path).c_str(), &ignored);
    if (size == 0) {
        return LastError();
    }
    return static_cast<std::uint32_t>(size);
}

Result<std::unique_ptr<platform::VersionBlock>> WindowsVersions::Load(std::string_view path, std::uint32_t size) {
    std::vector<char> block(std::max<std::size_t>(size, sizeof(WORD)));
    if (::GetFileVersionInfoA(std::string(path).c_str(), 0, size, block.data()) == FALSE) {
        return LastError();
    }
    // Queries go by the length that the block gives of itself, and convert text behind it: a block that was cut, or
    // that claims too much, must find that room.
    WORD claimed = 0;
    std::memcpy(&claimed, block.data(), sizeof(claimed));
    block.resize(std::max(block.size(), 3 * static_cast<std::size_t>(claimed)) + 16);
    return std::unique_ptr<platform::VersionBlock>(std::make_unique<WindowsVersionBlock>(std::move(block)));
}

}  // namespace kel::windows
