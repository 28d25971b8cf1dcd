// Disks of machines that don't run, made in a temporary folder.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

#include "offline/HiveFile.h"
#include "offline/OfflinePlatform.h"

namespace kel::test {

class DiskFixture : public testing::Test {
protected:
    DiskFixture();
    ~DiskFixture() override;

    /// A value that a hive is to hold; `number` makes it a 32-bit number, a % in the text an expandable one.
    struct Entry {
        std::u16string_view key;
        std::u16string_view name;
        std::u16string_view text;
        int number = -1;
    };

    [[nodiscard]] const std::filesystem::path& Disk() const { return disk_; }
    void Folder(const std::string& path) const { std::filesystem::create_directories(disk_ / path); }
    std::filesystem::path File(const std::string& path, std::string_view bytes) const;
    /// Makes a hive of version 1.3 there.
    std::filesystem::path Hive(const std::string& path, std::initializer_list<Entry> entries) const;

    /// A disk as Windows XP leaves it, with one user, `Ada`.
    void MakeXp() const;

    void Open(const std::string& user = {}, bool writable = false);
    /// What opening fails with; fails the test when it does not.
    [[nodiscard]] std::string OpenFails(const std::string& user = {}, bool writable = false);
    [[nodiscard]] offline::OfflinePlatform& Machine() { return *machine_; }
    [[nodiscard]] std::string Value(platform::Hive hive, std::string_view key, std::string_view name);
    [[nodiscard]] std::string Special(int identifier);
    [[nodiscard]] std::string Variable(std::string_view name) { return machine_->View().system->Environment(name); }
    [[nodiscard]] std::string Version();

private:
    std::filesystem::path disk_;
    std::unique_ptr<offline::OfflinePlatform> machine_;
};

/// UTF-16LE with a terminator.
[[nodiscard]] std::vector<std::byte> WideText(std::u16string_view text);

}  // namespace kel::test
