#include "hivemake/NewFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace kel::hivemake {
namespace {

namespace fs = std::filesystem;

std::error_code LastError() {
    return {errno, std::generic_category()};
}

std::error_code WriteAll(int file, std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(file, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR)
            return LastError();
        if (count > 0)
            bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return ::fsync(file) == 0 ? std::error_code() : LastError();
}

}  // namespace

std::error_code WriteNewFile(const fs::path& path, std::span<const std::byte> bytes) {
    std::error_code error;
    const fs::file_status old = fs::status(path, error);
    const bool exists = old.type() != fs::file_type::not_found;
    if (exists && error)
        return error;
    if (exists && !fs::is_regular_file(old))
        return std::make_error_code(fs::is_directory(old) ? std::errc::is_a_directory : std::errc::invalid_argument);
    const fs::path target = exists ? fs::canonical(path, error) : path;
    if (exists && error)
        return error;
    const std::string temporary = target.string() + ".new-" + std::to_string(::getpid());
    const int file = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file < 0)
        return LastError();
    error = WriteAll(file, bytes);
    if (!error && exists && ::fchmod(file, static_cast<mode_t>(old.permissions() & fs::perms::mask)) != 0)
        error = LastError();
    if (::close(file) != 0 && !error)
        error = LastError();
    if (!error)
        fs::rename(temporary, target, error);
    if (error)
        ::unlink(temporary.c_str());
    return error;
}

}  // namespace kel::hivemake
