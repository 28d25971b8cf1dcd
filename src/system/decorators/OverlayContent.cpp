#include "decorators/OverlayContent.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <utility>

namespace kel::decorators {

using platform::OpenMode;
using platform::Result;
using platform::SysError;

platform::FileTime TimeOfNow() {
    constexpr platform::FileTime epoch = 116'444'736'000'000'000ULL;  // from 1601 to 1970
    const auto since = std::chrono::system_clock::now().time_since_epoch();
    return epoch + static_cast<platform::FileTime>(
                       std::chrono::duration_cast<std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>>(since)
                           .count());
}

OverlayContent::OverlayContent(std::shared_ptr<OverlayBudget> budget)
    : budget_(std::move(budget)), lastWrite_(TimeOfNow()) {
}

OverlayContent::OverlayContent(std::shared_ptr<OverlayBudget> budget, platform::Files& files, std::string base,
                               std::uint64_t size)
    : budget_(std::move(budget)), files_(&files), base_(std::move(base)), baseSize_(size), size_(size) {
}

OverlayContent::~OverlayContent() {
    budget_->Give(pages_.size() * PageSize);
}

void OverlayContent::Release() {
    if (--users_ == 0) {
        open_.reset();
    }
}

void OverlayContent::Changed() {
    lastWrite_ = TimeOfNow();
}

// What lies behind the end of the machine's file is zero.
SysError OverlayContent::ReadBase(std::uint64_t position, std::span<std::byte> into) {
    std::fill(into.begin(), into.end(), std::byte{0});
    if (position >= baseSize_) {
        return SysError::Success;
    }
    into = into.first(static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), baseSize_ - position)));
    if (open_ == nullptr) {
        auto file = files_->Open(base_, OpenMode::Read);
        if (!file) {
            return file.Error();
        }
        open_ = *std::move(file);
    }
    if (const SysError error = open_->Seek(position); error != SysError::Success) {
        return error;
    }
    while (!into.empty()) {
        const auto got = open_->Read(into);
        if (!got || *got == 0) {
            return got.Error();
        }
        into = into.subspan(*got);
    }
    return SysError::Success;
}

Result<OverlayContent::Page*> OverlayContent::PageFor(std::uint64_t number) {
    if (const auto found = pages_.find(number); found != pages_.end()) {
        return found->second.get();
    }
    if (!budget_->Take(PageSize)) {
        return SysError::DiskFull;
    }
    auto page = std::make_unique<Page>();
    if (const SysError error = ReadBase(number * PageSize, *page); error != SysError::Success) {
        budget_->Give(PageSize);
        return error;
    }
    return pages_.emplace(number, std::move(page)).first->second.get();
}

Result<std::size_t> OverlayContent::Read(std::uint64_t position, std::span<std::byte> into) {
    if (position >= size_) {
        return std::size_t{0};
    }
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), size_ - position));
    for (std::size_t done = 0; done < wanted;) {
        const std::uint64_t number = (position + done) / PageSize;
        const auto offset = static_cast<std::size_t>((position + done) % PageSize);
        const auto found = pages_.lower_bound(number);
        if (found != pages_.end() && found->first == number) {
            const std::size_t count = std::min(PageSize - offset, wanted - done);
            std::memcpy(into.data() + done, found->second->data() + offset, count);
            done += count;
            continue;
        }
        // All that lies before the next page at once.
        std::uint64_t count = wanted - done;
        if (found != pages_.end()) {
            count = std::min(count, found->first * PageSize - (position + done));
        }
        const auto part = into.subspan(done, static_cast<std::size_t>(count));
        if (const SysError error = ReadBase(position + done, part); error != SysError::Success) {
            return error;
        }
        done += part.size();
    }
    return wanted;
}

SysError OverlayContent::Write(std::uint64_t position, std::span<const std::byte> from) {
    while (!from.empty()) {
        const auto page = PageFor(position / PageSize);
        if (!page) {
            return page.Error();
        }
        const auto offset = static_cast<std::size_t>(position % PageSize);
        const std::size_t count = std::min(PageSize - offset, from.size());
        std::memcpy((*page)->data() + offset, from.data(), count);
        position += count;
        size_ = std::max(size_, position);
        from = from.subspan(count);
        Changed();
    }
    return SysError::Success;
}

void OverlayContent::SetSize(std::uint64_t size) {
    baseSize_ = std::min(baseSize_, size);
    if (baseSize_ == 0) {
        base_.clear();
        open_.reset();
    }
    const std::uint64_t last = size / PageSize;
    const auto kept = static_cast<std::size_t>(size % PageSize);
    if (const auto page = pages_.find(last); page != pages_.end()) {
        std::fill(page->second->begin() + static_cast<std::ptrdiff_t>(kept), page->second->end(), std::byte{0});
    }
    const auto behind = pages_.upper_bound(last);
    budget_->Give(static_cast<std::uint64_t>(std::distance(behind, pages_.end())) * PageSize);
    pages_.erase(behind, pages_.end());
    size_ = size;
    Changed();
}

OverlayFile::OverlayFile(std::shared_ptr<OverlayContent> content, OpenMode mode, std::string path,
                         const DryRunJournal* journal)
    : content_(std::move(content)), mode_(mode), path_(std::move(path)), journal_(journal) {
    content_->Use();
}

OverlayFile::~OverlayFile() {
    content_->Release();
}

void OverlayFile::Report() {
    if (journal_ != nullptr) {
        std::exchange(journal_, nullptr)->Add(WriteKind::FileWritten, path_);
    }
}

Result<std::size_t> OverlayFile::Read(std::span<std::byte> into) {
    if (mode_ == OpenMode::Append) {
        return SysError::AccessDenied;
    }
    auto got = content_->Read(position_, into);
    position_ += got.ValueOr(0);
    return got;
}

SysError OverlayFile::Write(std::span<const std::byte> from) {
    if (mode_ == OpenMode::Read) {
        return SysError::AccessDenied;
    }
    if (from.empty()) {
        return SysError::Success;
    }
    if (mode_ == OpenMode::Append) {
        position_ = content_->Size();
    }
    const SysError error = content_->Write(position_, from);
    if (error == SysError::Success) {
        position_ += from.size();
        Report();
    }
    return error;
}

SysError OverlayFile::Seek(std::uint64_t position) {
    position_ = position;
    return SysError::Success;
}

SysError OverlayFile::SetEnd() {
    if (mode_ == OpenMode::Read) {
        return SysError::AccessDenied;
    }
    content_->SetSize(position_);
    Report();
    return SysError::Success;
}

Result<std::uint64_t> OverlayFile::Size() {
    return content_->Size();
}

SysError OverlayFile::Flush() {
    return SysError::Success;
}

}  // namespace kel::decorators
