#include "rules/WholeFile.h"

#include <cstddef>
#include <cstdint>
#include <span>

#include "core/Paths.h"
#include "platform/Platform.h"

namespace kel::whole {

namespace {

// Lifts a file's write protection for its lifetime.
class WritableFile {
public:
    explicit WritableFile(std::string_view path)
        : path_(path), attributes_(Files().Attributes(path).ValueOr(platform::AttributeNormal)) {
        if (IsReadOnly()) {
            Files().SetAttributes(path_, attributes_ & ~static_cast<std::uint32_t>(platform::AttributeReadOnly));
        }
    }
    ~WritableFile() {
        if (IsReadOnly()) {
            Files().SetAttributes(path_, attributes_);
        }
    }
    WritableFile(const WritableFile&) = delete;
    WritableFile& operator=(const WritableFile&) = delete;

private:
    static platform::Files& Files() { return *platform::Current().files; }
    [[nodiscard]] bool IsReadOnly() const { return (attributes_ & platform::AttributeReadOnly) != 0; }

    std::string path_;
    std::uint32_t attributes_;
};

}  // namespace

std::string ContentsOf(std::string_view path) {
    const auto view = platform::Current().files->View(path);
    if (!view) {
        paths::RaiseFileError(view.Error(), path);
    }
    const auto bytes = (*view)->Bytes();
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

void Overwrite(std::string_view path, std::string_view bytes) {
    const WritableFile writable(path);
    auto file = platform::Current().files->Open(path, platform::OpenMode::ReadWrite);
    if (!file) {
        paths::RaiseFileError(file.Error(), path);
    }
    platform::SysError error = (*file)->Write(std::as_bytes(std::span(bytes)));
    if (error == platform::SysError::Success) {
        error = (*file)->SetEnd();
    }
    if (error != platform::SysError::Success) {
        paths::RaiseFileError(error, path);
    }
}

}  // namespace kel::whole
