#include "frontend/ReadWatch.h"

#include <string>

namespace kel::frontend {

using platform::SysError;

namespace {

bool IsAbsence(SysError error) {
    return error == SysError::FileNotFound || error == SysError::PathNotFound || error == SysError::NoMoreFiles;
}

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
    : ForwardingFiles(inner), unreadable_(std::move(unreadable)) {
}

platform::Result<std::unique_ptr<platform::Find>> ReadWatch::FindFirst(std::string_view pattern,
                                                                       platform::FindData& first) {
    auto found = Inner().FindFirst(pattern, first);
    if (!found) {
        Note(pattern, found.Error());
    }
    return found;
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
