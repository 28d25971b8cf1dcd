// Hives on a disk of the host: a folder of its own for files that are changed and looked at again.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "HiveFixture.h"
#include "offline/HiveFile.h"

namespace kel::test {

class HiveFileTest : public testing::Test {
protected:
    HiveFileTest();
    ~HiveFileTest() override;

    [[nodiscard]] const std::filesystem::path& Folder() const { return folder_; }
    std::filesystem::path Put(std::string_view name, std::span<const std::byte> bytes) const;
    /// When files were written that are found on the disk, in seconds since 1970: what writes to them later gives them
    /// another time, however coarse the clock of the file system.
    static constexpr std::int64_t Long = 1'000'000'000;
    static void SetTime(const std::filesystem::path& path, std::int64_t seconds);

    /// A hive with the key `A`, whose value `v` is "old", written `Long` ago.
    std::filesystem::path PutHive(std::string_view name = "SYSTEM", std::uint32_t minor = 3) const;
    [[nodiscard]] static Bytes HiveBytes(std::uint32_t minor = 3);
    /// Names in the folder, in order.
    [[nodiscard]] std::vector<std::string> Names() const;

    /// Makes the key `New` and gives `A`'s value `v` another text.
    static void Edit(offline::RegistryTree& tree);
    /// What is in the file as it lies there.
    [[nodiscard]] static std::vector<std::string> ContentAt(const std::filesystem::path& path);
    [[nodiscard]] static std::vector<std::string> EditedContent();
    [[nodiscard]] static struct stat StatusOf(const std::filesystem::path& path);

private:
    std::filesystem::path folder_;
};

/// Files that this process writes end at `bytes`, as on a disk that is full there.
class FullDisk {
public:
    explicit FullDisk(std::size_t bytes);
    ~FullDisk();
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;
};

/// Somebody else than the superuser, whom the host's permissions do not stop.
class OrdinaryUser {
public:
    OrdinaryUser();
    ~OrdinaryUser();
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;

private:
    bool changed_ = false;
};

}  // namespace kel::test
