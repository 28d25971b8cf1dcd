// Files that are read before they are asked for.
#include <windows.h>

#include <algorithm>
#include <vector>

#include "windows/Win32.h"
#include "windows/WindowsFiles.h"

namespace kel::windows {

namespace {

using platform::AheadFile;
using platform::FileStamp;
using platform::FolderAhead;
using platform::Result;
using platform::SysError;

// Nobody is to be hindered by what is only looked at.
constexpr DWORD ShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
// Bringing it back from where it was moved to is for the one who really wants it.
constexpr DWORD Elsewhere = FILE_ATTRIBUTE_OFFLINE | FILE_ATTRIBUTE_REPARSE_POINT;

std::uint64_t Whole(DWORD high, DWORD low) {
    return static_cast<std::uint64_t>(high) << 32 | low;
}

// What the system's own call gives, where there is one: the time of the last change of any kind is in no other, and the
// documented one asks for the volume each time, which can take longer than the file.
struct NetworkOpen {
    LARGE_INTEGER creation, access, written, changed, allocated, size;
    ULONG attributes;
};
struct StatusBlock {
    void* status;
    ULONG_PTR information;
};
using QueryFunction = LONG(WINAPI*)(HANDLE, StatusBlock*, void*, ULONG, int);
constexpr int InternalClass = 6;
constexpr int NetworkOpenClass = 34;

Result<FileStamp> StampByHandle(HANDLE file) {
    BY_HANDLE_FILE_INFORMATION information{};
    if (::GetFileInformationByHandle(file, &information) == FALSE) {
        return LastError();
    }
    if ((information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        return SysError::AccessDenied;
    }
    return FileStamp{0, Whole(information.nFileIndexHigh, information.nFileIndexLow),
                     Whole(information.nFileSizeHigh, information.nFileSizeLow),
                     Whole(information.ftLastWriteTime.dwHighDateTime, information.ftLastWriteTime.dwLowDateTime), 0};
}

// Without the volume: the path, its drive included, is the same for all stamps that are compared.
Result<FileStamp> StampOf(HANDLE file) {
    static const auto query = Import<QueryFunction>("ntdll.dll", "NtQueryInformationFile");
    StatusBlock block{};
    NetworkOpen opened{};
    LARGE_INTEGER index{};
    if (query == nullptr || query(file, &block, &opened, sizeof opened, NetworkOpenClass) != 0 ||
        query(file, &block, &index, sizeof index, InternalClass) != 0) {
        return StampByHandle(file);
    }
    if ((opened.attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        return SysError::AccessDenied;
    }
    const auto unsign = [](const LARGE_INTEGER& number) { return static_cast<std::uint64_t>(number.QuadPart); };
    return FileStamp{0, unsign(index), unsign(opened.size), unsign(opened.written), unsign(opened.changed)};
}

// Whether a further change would give the file other times: the last one is longer ago than a tick of the system, or
// than the grain of the file system.
bool IsSettled(const FileStamp& stamp) {
    constexpr std::uint64_t Millisecond = 10'000;
    FILETIME now{};
    ::GetSystemTimeAsFileTime(&now);
    const std::uint64_t last = std::max(stamp.written, stamp.changed);
    const bool coarse = stamp.written % (10 * Millisecond) == 0 && stamp.changed % (10 * Millisecond) == 0;
    return Whole(now.dwHighDateTime, now.dwLowDateTime) > last + (coarse ? 2000 * Millisecond : 40 * Millisecond);
}

class WindowsAheadFile final : public AheadFile {
public:
    WindowsAheadFile(FileHandle handle, const FileStamp& stamp) : handle_(std::move(handle)) { stamp_ = stamp; }

    std::size_t Read(std::span<std::byte> into) override {
        DWORD got = 0;
        constexpr std::size_t Largest = std::size_t{1} << 30;
        const auto wanted = static_cast<DWORD>(std::min(into.size(), Largest));
        return ::ReadFile(handle_.Get(), into.data(), wanted, &got, nullptr) == FALSE ? 0 : got;
    }
    // The system reads a file ahead by itself once it is read from its beginning.
    void WillBeRead() override {}

private:
    FileHandle handle_;
};

class WindowsFolderAhead final : public FolderAhead {
public:
    explicit WindowsFolderAhead(std::string path) : path_(std::move(path)) {}

    [[nodiscard]] std::size_t Count() const override { return Entries().size(); }
    [[nodiscard]] std::string_view Name(std::size_t index) const override { return Entries()[index].name; }
    Kind KindOf(std::size_t index) override {
        return (Entries()[index].attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? Kind::Folder : Kind::File;
    }

    std::unique_ptr<AheadFile> Open(std::size_t index) override {
        return Open(path_ + Entries()[index].name, Entries()[index].attributes);
    }
    std::unique_ptr<AheadFile> OpenNamed(std::string_view name) override {
        const std::string path = path_ + std::string(name);
        const DWORD attributes = ::GetFileAttributesA(path.c_str());
        return attributes == INVALID_FILE_ATTRIBUTES ? nullptr : Open(path, attributes);
    }

private:
    struct Entry {
        std::string name;
        DWORD attributes;
    };

    // Listed when it is asked for: who knows his files by name needs no list, and the folder may be a large one.
    const std::vector<Entry>& Entries() const {
        if (listed_) {
            return entries_;
        }
        listed_ = true;
        WIN32_FIND_DATAA found;
        const FindHandle handle(::FindFirstFileA((path_ + "*.*").c_str(), &found));
        if (!handle) {
            return entries_;
        }
        do {
            const std::string_view name = found.cFileName;
            if (name != "." && name != "..") {
                entries_.push_back({std::string(name), found.dwFileAttributes});
            }
        } while (::FindNextFileA(handle.Get(), &found) != FALSE);
        return entries_;
    }

    static std::unique_ptr<AheadFile> Open(const std::string& path, DWORD attributes) {
        if ((attributes & (FILE_ATTRIBUTE_DIRECTORY | Elsewhere)) != 0) {
            return nullptr;
        }
        FileHandle handle(::CreateFileA(path.c_str(), GENERIC_READ, ShareAll, nullptr, OPEN_EXISTING,
                                        FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
        const Result<FileStamp> stamp = handle ? StampOf(handle.Get()) : LastError();
        if (!stamp || !IsSettled(*stamp)) {
            return nullptr;
        }
        return std::make_unique<WindowsAheadFile>(std::move(handle), *stamp);
    }

    std::string path_;
    mutable std::vector<Entry> entries_;
    mutable bool listed_ = false;
};

}  // namespace

Result<FileStamp> WindowsFiles::Stamp(std::string_view path) {
    const FileHandle handle(::CreateFileA(std::string(path).c_str(), FILE_READ_ATTRIBUTES, ShareAll, nullptr,
                                          OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    return handle ? StampOf(handle.Get()) : LastError();
}

std::unique_ptr<FolderAhead> WindowsFiles::Ahead(std::string_view folder) {
    std::string path(folder);
    if (!path.ends_with('\\')) {
        path += '\\';
    }
    const bool isFolder = (Attributes(path).ValueOr(0) & FILE_ATTRIBUTE_DIRECTORY) != 0;
    return isFolder ? std::make_unique<WindowsFolderAhead>(std::move(path)) : nullptr;
}

}  // namespace kel::windows
