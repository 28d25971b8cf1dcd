// Hives for tests, and what is in them as comparable lines.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "hive/Hive.h"

namespace kel::test {

using Bytes = std::vector<std::byte>;

/// The time at which every change of a test's hive happens, as FILETIME.
inline constexpr std::uint64_t Now = 0x01C0000000000000;

/// A new hive of that version without keys; its time stands still.
[[nodiscard]] std::unique_ptr<offline::Hive> NewHive(std::uint32_t minor);
/// The hive in these bytes. Throws HiveError as its reader does.
[[nodiscard]] std::unique_ptr<offline::Hive> ReadHive(std::span<const std::byte> bytes,
                                                      const std::vector<offline::regf::LogFile>& logs = {});
/// The bytes as a commit would write them.
[[nodiscard]] Bytes Written(offline::Hive& hive);

/// The key at a path with backslashes, or NoKey; the root for an empty path.
[[nodiscard]] offline::KeyId At(const offline::RegistryTree& tree, std::u16string_view path);
/// The same, made with its parents where it is not there; fails the test when that is refused.
offline::KeyId Make(offline::RegistryTree& tree, std::u16string_view path);

/// `size` bytes that differ from their neighbours and depend on `seed`.
[[nodiscard]] Bytes Pattern(std::size_t size, unsigned seed = 1);
/// UTF-16LE with a terminator.
[[nodiscard]] Bytes Text(std::u16string_view text);
[[nodiscard]] std::string Utf8(std::u16string_view text);
[[nodiscard]] std::string Hex(std::span<const std::byte> bytes);

/// One line for each key (path, class, time when asked for) and each value (path, name, type, data), in order of path.
[[nodiscard]] std::vector<std::string> Content(const offline::RegistryTree& tree, bool times = false);

/// What sorted lines of two sources do not have in common, for a message: counts and the first of each; empty when they
/// are the same.
[[nodiscard]] std::string Difference(const std::vector<std::string>& left, const std::vector<std::string>& right);

/// The list of subkeys of a key by its two letters, with those of its leaves for a list of lists: `lh`, `ri(li,li)`;
/// empty where there is none.
[[nodiscard]] std::string ListForm(const offline::Hive& hive, offline::KeyId key);

/// A temporary file that is removed.
class TemporaryFile {
public:
    explicit TemporaryFile(std::span<const std::byte> bytes);
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    [[nodiscard]] const std::filesystem::path& Path() const { return path_; }

private:
    std::filesystem::path path_;
};

[[nodiscard]] Bytes ReadFileBytes(const std::filesystem::path& path);

}  // namespace kel::test
