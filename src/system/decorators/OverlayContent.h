// The bytes of a file that was written in a dry run.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>

#include "decorators/DryRunJournal.h"
#include "platform/Files.h"

namespace kel::decorators {

/// Memory that all written files of a dry run share.
class OverlayBudget {
public:
    explicit OverlayBudget(std::uint64_t bytes) : left_(bytes) {}
    bool Take(std::uint64_t bytes) {
        if (bytes > left_) {
            return false;
        }
        left_ -= bytes;
        return true;
    }
    void Give(std::uint64_t bytes) { left_ += bytes; }

private:
    std::uint64_t left_;
};

/// A file of the machine, or none, with the pages over it that were written.
class OverlayContent {
public:
    explicit OverlayContent(std::shared_ptr<OverlayBudget> budget);
    /// Shows the file of the machine at `base`, of `size` bytes. `files` must outlive the object.
    OverlayContent(std::shared_ptr<OverlayBudget> budget, platform::Files& files, std::string base, std::uint64_t size);
    ~OverlayContent();
    OverlayContent(const OverlayContent&) = delete;
    OverlayContent& operator=(const OverlayContent&) = delete;

    platform::Result<std::size_t> Read(std::uint64_t position, std::span<std::byte> into);
    /// DiskFull when the memory is used up.
    platform::SysError Write(std::uint64_t position, std::span<const std::byte> from);
    void SetSize(std::uint64_t size);
    [[nodiscard]] std::uint64_t Size() const { return size_; }
    /// The path of the machine's file whose bytes still show; empty when there is none.
    [[nodiscard]] const std::string& Base() const { return base_; }
    [[nodiscard]] platform::FileTime LastWrite() const { return lastWrite_; }

    /// The machine's file is kept open from the first read on as long as somebody uses this.
    void Use() { ++users_; }
    void Release();

private:
    static constexpr std::size_t PageSize = 4096;
    using Page = std::array<std::byte, PageSize>;

    platform::Result<Page*> PageFor(std::uint64_t number);
    platform::SysError ReadBase(std::uint64_t position, std::span<std::byte> into);
    void Changed();

    std::shared_ptr<OverlayBudget> budget_;
    platform::Files* files_ = nullptr;
    std::string base_;
    std::uint64_t baseSize_ = 0;  // bytes of the machine's file that still show
    std::uint64_t size_ = 0;
    std::map<std::uint64_t, std::unique_ptr<Page>> pages_;
    std::unique_ptr<platform::OpenFile> open_;
    unsigned users_ = 0;
    platform::FileTime lastWrite_ = 0;
};

/// An open file over such bytes.
class OverlayFile final : public platform::OpenFile {
public:
    /// @param journal where the first change is reported; null when it was reported already
    OverlayFile(std::shared_ptr<OverlayContent> content, platform::OpenMode mode, std::string path,
                const DryRunJournal* journal);
    ~OverlayFile() override;
    OverlayFile(const OverlayFile&) = delete;
    OverlayFile& operator=(const OverlayFile&) = delete;

    platform::Result<std::size_t> Read(std::span<std::byte> into) override;
    platform::SysError Write(std::span<const std::byte> from) override;
    platform::SysError Seek(std::uint64_t position) override;
    platform::SysError SetEnd() override;
    platform::Result<std::uint64_t> Size() override;
    platform::SysError Flush() override;

private:
    void Report();

    std::shared_ptr<OverlayContent> content_;
    platform::OpenMode mode_;
    std::string path_;
    const DryRunJournal* journal_;
    std::uint64_t position_ = 0;
};

/// The time of now.
[[nodiscard]] platform::FileTime TimeOfNow();

}  // namespace kel::decorators
