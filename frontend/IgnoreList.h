// The threats that the user told the program to leave alone, and the file that keeps them from run to run.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace kel::frontend {

/// Numbers of threats in the order in which they were added, each once.
class IgnoreList {
public:
    /// The list's file in the user data folder: a text with one number a line, which people may edit. Lines that are
    /// empty or begin with `#` are passed over.
    static constexpr const char* FileName = "ombrelane-ignored.txt";

    /// The list of a user data folder of the host; an empty one when there is no file. Throws MachineError for a file
    /// that can't be read or has a line that is no number of a threat: half a list is none.
    [[nodiscard]] static IgnoreList Read(const std::string& userData);
    /// Replaces the file: it has either the old list or the new one, whatever happens meanwhile.
    /// @return what went wrong; nothing when the list is on the disk
    [[nodiscard]] std::optional<std::string> Write(const std::string& userData) const;

    /// @return false when it is there already
    bool Add(std::int32_t threat);
    /// @return false when it isn't there
    bool Remove(std::int32_t threat);
    [[nodiscard]] bool Contains(std::int32_t threat) const { return known_.count(threat) != 0; }
    [[nodiscard]] const std::vector<std::int32_t>& Numbers() const { return numbers_; }

    /// The number of a threat that a text is: digits alone, from 1 to 2147483647.
    [[nodiscard]] static std::optional<std::int32_t> NumberOf(std::string_view text);

private:
    std::vector<std::int32_t> numbers_;
    std::unordered_set<std::int32_t> known_;
};

/// Keeps other runs of the program from changing the list of a user data folder while it lives: whoever comes second
/// waits. Ends with the process, however that ends, and leaves nothing behind in the folder.
class IgnoreListLock {
public:
    /// Throws MachineError when the folder can't be locked.
    explicit IgnoreListLock(const std::string& userData);
    ~IgnoreListLock();
    IgnoreListLock(const IgnoreListLock&) = delete;
    IgnoreListLock& operator=(const IgnoreListLock&) = delete;

private:
    int file_;
};

}  // namespace kel::frontend
