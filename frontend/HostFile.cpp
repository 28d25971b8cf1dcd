#include "frontend/HostFile.h"

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <system_error>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>

#include <chrono>
#include <thread>
#else
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#endif

namespace kel::frontend {

namespace fs = std::filesystem;

namespace {

#ifdef _WIN32

int MakeNew(const fs::path& file) {
    return ::_wopen(file.c_str(), _O_CREAT | _O_EXCL | _O_WRONLY | _O_BINARY, _S_IREAD | _S_IWRITE);
}

std::ptrdiff_t WriteSome(int file, std::string_view bytes) {
    return ::_write(file, bytes.data(), static_cast<unsigned>(bytes.size()));
}

bool ToMedium(int file) {
    return ::_commit(file) == 0;
}

bool CloseFile(int file) {
    return ::_close(file) == 0;
}

#else

int MakeNew(const fs::path& file) {
    return ::open(file.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_NOFOLLOW | O_CLOEXEC, 0666);
}

std::ptrdiff_t WriteSome(int file, std::string_view bytes) {
    return ::write(file, bytes.data(), bytes.size());
}

bool ToMedium(int file) {
    return ::fsync(file) == 0;
}

bool CloseFile(int file) {
    return ::close(file) == 0;
}

#endif

bool WriteAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const std::ptrdiff_t written = WriteSome(file, bytes);
        if (written > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (written == 0 || errno != EINTR) {
            return false;
        }
    }
    return true;
}

// The new name of a file outlives a power cut only when its folder is on the medium too. Windows sees to it itself.
void FolderToMedium(const fs::path& folder) {
#ifdef _WIN32
    (void)folder;
#else
    const int handle = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (handle >= 0) {
        ToMedium(handle);
        CloseFile(handle);
    }
#endif
}

}  // namespace

std::optional<std::string> ReplaceHostFile(const fs::path& file, std::string_view bytes) {
    fs::path fresh = file;
    fresh += ".new";
    std::error_code error;
    fs::remove(fresh, error);  // left by a run that was ended in between
    const int handle = MakeNew(fresh);
    if (handle < 0) {
        return "can't make " + fresh.string() + ": " + std::strerror(errno);
    }
    bool written = WriteAll(handle, bytes) && ToMedium(handle);
    int problem = errno;
    if (!CloseFile(handle) && written) {
        written = false;
        problem = errno;
    }
    if (!written) {
        fs::remove(fresh, error);
        return "can't write " + fresh.string() + ": " + std::strerror(problem);
    }
    if (const fs::file_status old = fs::symlink_status(file, error); old.type() == fs::file_type::regular) {
        fs::permissions(fresh, old.permissions(), error);
    }
    fs::rename(fresh, file, error);
    if (error) {
        std::error_code ignored;
        fs::remove(fresh, ignored);
        return "can't replace " + file.string() + ": " + error.message();
    }
    FolderToMedium(file.parent_path());
    return std::nullopt;
}

#ifdef _WIN32

int LockHostFolder(const fs::path& folder) {
    // The file goes away with the last handle on it.
    const fs::path file = folder / "ombrelane.lock";
    std::error_code error;
    // Refused while the file is not there: it has just gone, or the folder takes no files.
    for (int refusals = 0; refusals < 10; refusals = fs::exists(file, error) ? 0 : refusals + 1) {
        const int handle = ::_wsopen(file.c_str(), _O_CREAT | _O_RDWR | _O_TEMPORARY, _SH_DENYRW, _S_IREAD | _S_IWRITE);
        if (handle >= 0 || errno != EACCES) {
            return handle;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return -1;
}

#else

int LockHostFolder(const fs::path& folder) {
    const int handle = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (handle < 0) {
        return handle;
    }
    while (::flock(handle, LOCK_EX) != 0) {
        if (errno != EINTR) {
            CloseFile(handle);
            return -1;
        }
    }
    return handle;
}

#endif

void UnlockHostFolder(int lock) {
    CloseFile(lock);
}

}  // namespace kel::frontend
