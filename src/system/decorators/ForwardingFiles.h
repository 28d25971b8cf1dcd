// File access that passes everything on: the base of what changes some of it.
#pragma once

#include <memory>
#include <utility>

#include "platform/Files.h"

namespace kel::decorators {

/// `inner` must outlive the object.
class ForwardingFiles : public platform::Files {
public:
    explicit ForwardingFiles(platform::Files& inner) : inner_(inner) {}

    bool PathExists(std::string_view path) override { return inner_.PathExists(path); }
    int PathIsDirectory(std::string_view path) override { return inner_.PathIsDirectory(path); }
    platform::Result<std::uint32_t> Attributes(std::string_view path) override { return inner_.Attributes(path); }
    platform::SysError SetAttributes(std::string_view path, std::uint32_t attributes) override {
        return inner_.SetAttributes(path, attributes);
    }
    platform::Result<std::unique_ptr<platform::Find>> FindFirst(std::string_view pattern,
                                                                platform::FindData& first) override {
        return inner_.FindFirst(pattern, first);
    }
    platform::SysError Remove(std::string_view path) override { return inner_.Remove(path); }
    platform::SysError Rename(std::string_view from, std::string_view to) override { return inner_.Rename(from, to); }
    platform::SysError MakeFolder(std::string_view path) override { return inner_.MakeFolder(path); }
    platform::SysError RemoveFolder(std::string_view path) override { return inner_.RemoveFolder(path); }
    platform::Result<std::unique_ptr<platform::OpenFile>> Open(std::string_view path,
                                                               platform::OpenMode mode) override {
        return inner_.Open(path, mode);
    }
    platform::Result<std::unique_ptr<platform::FileView>> View(std::string_view path) override {
        return inner_.View(path);
    }
    platform::Result<std::uint64_t> Length(std::string_view path) override { return inner_.Length(path); }
    platform::Result<std::string> LongPath(std::string_view path) override { return inner_.LongPath(path); }
    platform::Result<std::string> ShortPath(std::string_view path) override { return inner_.ShortPath(path); }
    std::vector<std::string> LogicalDrives() override { return inner_.LogicalDrives(); }
    platform::DriveKind DriveType(std::string_view root) override { return inner_.DriveType(root); }
    bool MatchSpec(std::string_view name, std::string_view spec) override { return inner_.MatchSpec(name, spec); }
    std::string CurrentFolder() override { return inner_.CurrentFolder(); }
    platform::SysError SetCurrentFolder(std::string_view path) override { return inner_.SetCurrentFolder(path); }

protected:
    [[nodiscard]] platform::Files& Inner() const { return inner_; }

private:
    platform::Files& inner_;
};

/// Owns the file that it passes everything on to.
class ForwardingOpenFile : public platform::OpenFile {
public:
    explicit ForwardingOpenFile(std::unique_ptr<platform::OpenFile> inner) : inner_(std::move(inner)) {}

    platform::Result<std::size_t> Read(std::span<std::byte> into) override { return inner_->Read(into); }
    platform::SysError Write(std::span<const std::byte> from) override { return inner_->Write(from); }
    platform::SysError Seek(std::uint64_t position) override { return inner_->Seek(position); }
    platform::SysError SetEnd() override { return inner_->SetEnd(); }
    platform::Result<std::uint64_t> Size() override { return inner_->Size(); }
    platform::SysError Flush() override { return inner_->Flush(); }

protected:
    [[nodiscard]] platform::OpenFile& Inner() const { return *inner_; }

private:
    std::unique_ptr<platform::OpenFile> inner_;
};

}  // namespace kel::decorators
