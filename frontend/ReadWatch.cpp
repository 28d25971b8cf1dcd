#include "frontend/ReadWatch.h"

#include <string>
#include <utility>

#include "core/Unnoticed.h"

namespace kel::frontend {

using platform::SysError;

namespace {

bool IsAbsence(SysError error) {
    return error == SysError::FileNotFound || error == SysError::PathNotFound || error == SysError::NoMoreFiles;
}

// What a pattern looks for entries of: its folder, or the one path that it names.
std::string Searched(std::string_view pattern) {
    const std::size_t end = pattern.rfind('\\');
    if (end == std::string_view::npos || pattern.find_first_of("*?", end) == std::string_view::npos) {
        return std::string(pattern);
    }
    const bool root = end > 0 && pattern[end - 1] == ':';
    return std::string(pattern.substr(0, root ? end + 1 : end));
}

// A listing whose breaking off is noticed.
class WatchedFind : public platform::Find {
public:
    WatchedFind(std::unique_ptr<platform::Find> inner, std::string folder, const ReadWatch::Report& report)
        : inner_(std::move(inner)), folder_(std::move(folder)), report_(report) {}

    SysError Next(platform::FindData& entry) override {
        const SysError error = inner_->Next(entry);
        if (error != SysError::Success && !IsAbsence(error)) {
            report_(folder_, error);
        }
        return error;
    }
    std::string AlternateName(const platform::FindData& entry) override { return inner_->AlternateName(entry); }

private:
    std::unique_ptr<platform::Find> inner_;
    std::string folder_;
    const ReadWatch::Report& report_;
};

// A file whose reads are noticed too.
class WatchedFile : public decorators::ForwardingOpenFile {
public:
    WatchedFile(std::unique_ptr<platform::OpenFile> inner, std::string path, const ReadWatch::Report& report)
        : ForwardingOpenFile(std::move(inner)), path_(std::move(path)), report_(report) {}

    platform::Result<std::size_t> Read(std::span<std::byte> into) override {
        auto read = Inner().Read(into);
        if (!read) {
            report_(path_, read.Error());
        }
        return read;
    }

private:
    std::string path_;
    const ReadWatch::Report& report_;
};

}  // namespace

ReadWatch::ReadWatch(platform::Files& inner, Report unreadable)
    : ForwardingFiles(inner), unreadable_([report = std::move(unreadable)](std::string_view path, SysError error) {
          if (!Unnoticed::Active()) {
              report(path, error);
          }
      }) {
}

platform::Result<std::unique_ptr<platform::Find>> ReadWatch::FindFirst(std::string_view pattern,
                                                                       platform::FindData& first) {
    return Watched(Inner().FindFirst(pattern, first), pattern);
}

platform::Result<std::unique_ptr<platform::Find>> ReadWatch::FindNames(std::string_view pattern,
                                                                       platform::FindData& first) {
    return Watched(Inner().FindNames(pattern, first), pattern);
}

platform::Result<std::unique_ptr<platform::Find>> ReadWatch::Watched(
    platform::Result<std::unique_ptr<platform::Find>> found, std::string_view pattern) {
    if (!found) {
        Note(Searched(pattern), found.Error());
        return found;
    }
    return std::unique_ptr<platform::Find>(
        std::make_unique<WatchedFind>(std::move(found).Value(), Searched(pattern), unreadable_));
}

platform::Result<std::unique_ptr<platform::OpenFile>> ReadWatch::Open(std::string_view path, platform::OpenMode mode) {
    auto file = Inner().Open(path, mode);
    if (mode != platform::OpenMode::Read) {
        return file;
    }
    if (!file) {
        Note(path, file.Error());
        return file;
    }
    return std::unique_ptr<platform::OpenFile>(
        std::make_unique<WatchedFile>(std::move(file).Value(), std::string(path), unreadable_));
}

platform::Result<std::unique_ptr<platform::FileView>> ReadWatch::View(std::string_view path) {
    auto view = Inner().View(path);
    if (!view) {
        Note(path, view.Error());
    }
    return view;
}

void ReadWatch::Note(std::string_view path, SysError error) const {
    if (!IsAbsence(error)) {
        unreadable_(path, error);
    }
}

}  // namespace kel::frontend
