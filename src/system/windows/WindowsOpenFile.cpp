// Open files and views of files.
#include <windows.h>

#include <algorithm>
#include <limits>
#include <new>

#include "windows/Win32.h"
#include "windows/WindowsFiles.h"

namespace kel::windows {

namespace {

using platform::OpenMode;
using platform::Result;
using platform::SysError;

constexpr std::size_t LargestTransfer = std::size_t{1} << 30;
// Below this size reading is cheaper than mapping.
constexpr std::uint64_t SmallestMapping = 64 * 1024;

struct Disposition {
    OpenMode mode;
    DWORD access;
    DWORD share;
    DWORD creation;
};

constexpr Disposition Dispositions[] = {
    {OpenMode::Read, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING},
    {OpenMode::ReadWrite, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, OPEN_ALWAYS},
    {OpenMode::Create, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, CREATE_ALWAYS},
    {OpenMode::CreateNew, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, CREATE_NEW},
    {OpenMode::Append, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_ALWAYS},
};

FileHandle OpenHandle(std::string_view path, DWORD access, DWORD share, DWORD creation) {
    return FileHandle(
        ::CreateFileA(std::string(path).c_str(), access, share, nullptr, creation, FILE_ATTRIBUTE_NORMAL, nullptr));
}

Result<std::uint64_t> SizeOf(HANDLE file) {
    DWORD high = 0;
    ::SetLastError(ERROR_SUCCESS);
    const DWORD low = ::GetFileSize(file, &high);
    if (low == INVALID_FILE_SIZE && ::GetLastError() != ERROR_SUCCESS) {
        return LastError();
    }
    return (static_cast<std::uint64_t>(high) << 32) | low;
}

SysError MoveTo(HANDLE file, std::uint64_t position, DWORD from) {
    LONG high = static_cast<LONG>(position >> 32);
    ::SetLastError(ERROR_SUCCESS);
    const DWORD low = ::SetFilePointer(file, static_cast<LONG>(static_cast<std::uint32_t>(position)), &high, from);
    if (low == INVALID_SET_FILE_POINTER && ::GetLastError() != ERROR_SUCCESS) {
        return LastError();
    }
    return SysError::Success;
}

class WindowsOpenFile final : public platform::OpenFile {
public:
    WindowsOpenFile(FileHandle handle, bool appends) : handle_(std::move(handle)), appends_(appends) {}

    Result<std::size_t> Read(std::span<std::byte> into) override {
        DWORD got = 0;
        const auto wanted = static_cast<DWORD>(std::min(into.size(), LargestTransfer));
        if (::ReadFile(handle_.Get(), into.data(), wanted, &got, nullptr) == FALSE) {
            return LastError();
        }
        return static_cast<std::size_t>(got);
    }

    SysError Write(std::span<const std::byte> from) override {
        if (appends_) {
            const SysError moved = MoveTo(handle_.Get(), 0, FILE_END);
            if (moved != SysError::Success) {
                return moved;
            }
        }
        while (!from.empty()) {
            DWORD written = 0;
            const auto wanted = static_cast<DWORD>(std::min(from.size(), LargestTransfer));
            if (::WriteFile(handle_.Get(), from.data(), wanted, &written, nullptr) == FALSE) {
                return LastError();
            }
            if (written == 0) {
                return SysError::DiskFull;
            }
            from = from.subspan(written);
        }
        return SysError::Success;
    }

    SysError Seek(std::uint64_t position) override { return MoveTo(handle_.Get(), position, FILE_BEGIN); }
    SysError SetEnd() override { return ErrorUnless(::SetEndOfFile(handle_.Get())); }
    Result<std::uint64_t> Size() override { return SizeOf(handle_.Get()); }
    SysError Flush() override { return ErrorUnless(::FlushFileBuffers(handle_.Get())); }

private:
    FileHandle handle_;
    bool appends_;
};

class MappedView final : public platform::FileView {
public:
    MappedView(const void* start, std::size_t size) : start_(static_cast<const std::byte*>(start)), size_(size) {}
    ~MappedView() override { ::UnmapViewOfFile(start_); }
    MappedView(const MappedView&) = delete;
    MappedView& operator=(const MappedView&) = delete;
    [[nodiscard]] std::span<const std::byte> Bytes() const override { return {start_, size_}; }
    [[nodiscard]] bool HoldsFile() const override { return true; }

private:
    const std::byte* start_;
    std::size_t size_;
};

class ReadView final : public platform::FileView {
public:
    explicit ReadView(std::vector<std::byte> bytes) : bytes_(std::move(bytes)) {}
    [[nodiscard]] std::span<const std::byte> Bytes() const override { return bytes_; }

private:
    std::vector<std::byte> bytes_;
};

// A medium that is pulled out turns an access to a mapping into a crash, so only what stays in place is mapped.
bool StaysInPlace(std::string_view path) {
    return path.size() > 2 && path[1] == ':' && ::GetDriveTypeA(std::string{path[0], ':', '\\'}.c_str()) == DRIVE_FIXED;
}

std::unique_ptr<platform::FileView> MapWhole(HANDLE file, std::size_t size) {
    const KernelHandle mapping(::CreateFileMappingA(file, nullptr, PAGE_READONLY, 0, 0, nullptr));
    if (!mapping) {
        return nullptr;
    }
    const void* start = ::MapViewOfFile(mapping.Get(), FILE_MAP_READ, 0, 0, size);
    return start == nullptr ? nullptr : std::make_unique<MappedView>(start, size);
}

Result<std::unique_ptr<platform::FileView>> ReadWhole(HANDLE file, std::size_t size) {
    std::vector<std::byte> bytes;
    try {
        bytes.resize(size);
    } catch (const std::bad_alloc&) {
        return SysError::NotEnoughMemory;
    }
    std::size_t filled = 0;
    while (filled < size) {
        DWORD got = 0;
        const auto wanted = static_cast<DWORD>(std::min(size - filled, LargestTransfer));
        if (::ReadFile(file, bytes.data() + filled, wanted, &got, nullptr) == FALSE) {
            return LastError();
        }
        if (got == 0) {
            break;
        }
        filled += got;
    }
    bytes.resize(filled);
    return std::unique_ptr<platform::FileView>(std::make_unique<ReadView>(std::move(bytes)));
}

}  // namespace

Result<std::unique_ptr<platform::OpenFile>> WindowsFiles::Open(std::string_view path, OpenMode mode) {
    for (const Disposition& row : Dispositions) {
        if (row.mode != mode) {
            continue;
        }
        FileHandle handle = OpenHandle(path, row.access, row.share, row.creation);
        if (!handle) {
            return LastError();
        }
        return std::unique_ptr<platform::OpenFile>(
            std::make_unique<WindowsOpenFile>(std::move(handle), mode == OpenMode::Append));
    }
    return SysError::InvalidParameter;
}

Result<std::unique_ptr<platform::FileView>> WindowsFiles::View(std::string_view path) {
    const FileHandle handle = OpenHandle(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING);
    if (!handle) {
        return LastError();
    }
    const Result<std::uint64_t> size = SizeOf(handle.Get());
    if (!size) {
        return size.Error();
    }
    // No span of bytes is longer, and a program of 32 bits has no more room.
    if (size.Value() > std::numeric_limits<std::size_t>::max() / 2) {
        return SysError::NotEnoughMemory;
    }
    const auto bytes = static_cast<std::size_t>(size.Value());
    if (size.Value() >= SmallestMapping && StaysInPlace(path)) {
        if (auto view = MapWhole(handle.Get(), bytes)) {
            return view;
        }
    }
    return ReadWhole(handle.Get(), bytes);
}

Result<std::uint64_t> WindowsFiles::Length(std::string_view path) {
    // Access 0 asks for neither reading nor writing: it succeeds on a file that is in use.
    const FileHandle handle = OpenHandle(path, 0, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING);
    if (!handle) {
        return LastError();
    }
    return SizeOf(handle.Get());
}

}  // namespace kel::windows
