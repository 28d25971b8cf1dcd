#include "frontend/IgnoreList.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <sstream>
#include <system_error>

#include "frontend/HostFile.h"
#include "frontend/Machine.h"

namespace kel::frontend {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view Heading = "# Threats that ombrelane leaves alone, one number a line.\n";
// What some editors put before a text in UTF-8.
constexpr std::string_view ByteOrderMark = "\xEF\xBB\xBF";

std::string_view Trimmed(std::string_view line) {
    const std::size_t first = line.find_first_not_of(" \t\r");
    return first == std::string_view::npos ? std::string_view()
                                           : line.substr(first, line.find_last_not_of(" \t\r") - first + 1);
}

std::string WholeFile(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    // An empty file sets the fail bit of what it is copied to, and nothing else.
    if (!stream.is_open() || stream.bad()) {
        throw MachineError("can't read the ignore list " + file.string());
    }
    return std::move(text).str();
}

}  // namespace

IgnoreList IgnoreList::Read(const std::string& userData) {
    const fs::path file = fs::path(userData) / FileName;
    std::error_code error;
    const fs::file_status status = fs::symlink_status(file, error);
    IgnoreList list;
    if (status.type() == fs::file_type::not_found) {
        return list;
    }
    if (status.type() != fs::file_type::regular) {
        throw MachineError("can't read the ignore list " + file.string() + ": " +
                           (error ? error.message() : "it is no file"));
    }
    const std::string text = WholeFile(file);
    std::string_view rest = text;
    if (rest.substr(0, ByteOrderMark.size()) == ByteOrderMark) {
        rest.remove_prefix(ByteOrderMark.size());
    }
    for (std::size_t number = 1; !rest.empty(); ++number) {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        const std::string_view line = Trimmed(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (line.empty() || line.front() == '#') {
            continue;
        }
        const auto threat = NumberOf(line);
        if (!threat) {
            throw MachineError("line " + std::to_string(number) + " of the ignore list " + file.string() +
                               " is no number of a threat");
        }
        list.Add(*threat);
    }
    return list;
}

std::optional<std::string> IgnoreList::Write(const std::string& userData) const {
    std::string text(Heading);
    for (const std::int32_t threat : numbers_) {
        text += std::to_string(threat) + "\n";
    }
    return ReplaceHostFile(fs::path(userData) / FileName, text);
}

bool IgnoreList::Add(std::int32_t threat) {
    if (!known_.insert(threat).second) {
        return false;
    }
    numbers_.push_back(threat);
    return true;
}

bool IgnoreList::Remove(std::int32_t threat) {
    if (known_.erase(threat) == 0) {
        return false;
    }
    numbers_.erase(std::find(numbers_.begin(), numbers_.end(), threat));
    return true;
}

std::optional<std::int32_t> IgnoreList::NumberOf(std::string_view text) {
    std::int32_t number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end && number > 0 ? std::optional(number) : std::nullopt;
}

IgnoreListLock::IgnoreListLock(const std::string& userData) : file_(LockHostFolder(userData)) {
    if (file_ < 0) {
        throw MachineError("can't lock the folder " + userData);
    }
}

IgnoreListLock::~IgnoreListLock() {
    UnlockHostFolder(file_);
}

}  // namespace kel::frontend
