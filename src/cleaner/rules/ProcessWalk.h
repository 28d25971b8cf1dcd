// The two ways in which the cleaner walks the processes of the machine.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "catalogue/clsBadProcess.h"

namespace kel::walk {

/// Query information and read memory.
inline constexpr std::uint32_t ReadAccess = 1040;
/// Query information and terminate.
inline constexpr std::uint32_t EndAccess = 1025;

/// Sees a process; answers whether to go on.
using Visit = std::function<bool(const clsBadProcess& process)>;
/// Gives the path of the process at hand; asked for only when it is needed, since it costs several calls.
using PathOf = std::function<std::string()>;
using VisitEntry = std::function<bool(const clsBadProcess& process, const std::string& entry, const PathOf& path)>;

/// Whether the operating-system word is "NT", where processes are listed by the process status calls.
[[nodiscard]] bool OnNT();

/// The processes of a snapshot, in its order. `process` comes without its path, `entry` is its name in the list as it
/// stands there.
/// @return false when there is no snapshot
bool EachEntry(const VisitEntry& visit);
/// The same with paths.
bool EachOfSnapshot(const Visit& visit);
/// The processes that the process status calls list, at most 512, with paths.
bool EachOfStatus(const Visit& visit);

/// Number of the engine's own process, as the records have it.
[[nodiscard]] std::int32_t OwnProcess();

/// The answer of a hashing, empty where it is no hash.
[[nodiscard]] std::string Meaningful(std::string hash);
/// The hash of a file, empty where it has none.
[[nodiscard]] std::string HashOf(std::string_view path);

/// Hashes of programs, each read once: many processes run the same one.
class Hashes {
public:
    [[nodiscard]] const std::string& Of(const std::string& path);

private:
    std::map<std::string, std::string, std::less<>> known_;
};

}  // namespace kel::walk
