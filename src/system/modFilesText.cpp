// Text files and shell links.
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "core/Failures.h"
#include "core/Paths.h"
#include "platform/Platform.h"
#include "system/modFiles.h"

namespace kel::modFiles {

namespace {

using platform::OpenMode;
using platform::SysError;

constexpr std::string_view Module = "modFiles";

// Places in a shell link, counted from 1 as the rest of the rules counts. They hold for links to a file on a local
// disk: the length of the item list, the first byte behind the fixed part, and what lies between the item list's
// length and the text fields (volume label, then path).
constexpr std::size_t LinkListLengthAt = 77;
constexpr std::size_t LinkProbeAt = 102;
constexpr std::size_t LinkFieldsBehindList = 123;
constexpr std::size_t LinkShortTarget = 3;

platform::Files& Files() {
    return *platform::Current().files;
}

void WriteLine(std::string_view text, std::string_view path, OpenMode mode) {
    auto file = Files().Open(path, mode);
    if (!file) {
        paths::RaiseFileError(file.Error(), path);
    }
    std::string line(text);
    line += "\r\n";
    if (const SysError error = (*file)->Write(std::as_bytes(std::span(line))); error != SysError::Success) {
        paths::RaiseFileError(error, path);
    }
}

// Calls `read` with the bytes of the whole file, without a copy of them.
template <class Read>
std::string FromFile(std::string_view path, Read&& read) {
    auto view = Files().View(path);
    if (!view) {
        paths::RaiseFileError(view.Error(), path);
    }
    const auto bytes = (*view)->Bytes();
    return read(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}

std::string JoinLines(std::string_view text, std::string_view lineEnd) {
    std::string result;
    result.reserve(text.size() + lineEnd.size());
    while (!text.empty()) {
        const std::size_t end = text.find('\r');
        result.append(text.substr(0, end)).append(lineEnd);
        if (end == std::string_view::npos) {
            break;
        }
        text.remove_prefix(end + 1);
        if (text.starts_with('\n')) {
            text.remove_prefix(1);
        }
    }
    return result;
}

// The end of the field that begins at `start`: its terminator, or the end of the file.
std::size_t FieldEnd(std::string_view bytes, std::size_t start) {
    const std::size_t end = bytes.find_first_of(std::string_view("\0\r\n", 3), start);
    return end == std::string_view::npos ? bytes.size() : end;
}

std::string TargetIn(std::string_view bytes) {
    if (bytes.size() < LinkProbeAt || bytes[LinkProbeAt - 1] == '\0') {
        return {};
    }
    const auto byteAt = [&](std::size_t position) {
        return static_cast<std::size_t>(static_cast<unsigned char>(bytes[position - 1]));
    };
    const std::size_t fieldsAt = byteAt(LinkListLengthAt) + byteAt(LinkListLengthAt + 1) * 256 + LinkFieldsBehindList;
    if (fieldsAt > bytes.size()) {
        return std::string(bytes.substr(LinkProbeAt - 1, LinkShortTarget));
    }
    const std::size_t second = FieldEnd(bytes, fieldsAt - 1) + 1;
    if (second >= bytes.size()) {
        return {};
    }
    return std::string(bytes.substr(second, FieldEnd(bytes, second) - second));
}

}  // namespace

bool TextFileWrite(std::string_view text, std::string_view path) {
    return Trap(Module, "TextFileWrite", [&] {
        Files().Remove(path);
        WriteLine(text, path, OpenMode::Create);
    });
}

bool TextFileAppend(std::string_view text, std::string_view path) {
    return Trap(Module, "TextFileAppend", [&] { WriteLine(text, path, OpenMode::Append); });
}

std::string TextFileRead(std::string_view path, bool blnKeepLineBreaks) {
    std::string result;
    Trap(Module, "TextFileRead", [&] {
        if (FileExists(path)) {
            result =
                FromFile(path, [&](std::string_view text) { return JoinLines(text, blnKeepLineBreaks ? "\r\n" : ""); });
        }
    });
    return result;
}

std::string ShortcutTargetPath(std::string_view path) {
    std::string result;
    Trap(Module, "ShortcutTargetPath", [&] {
        if (FileExists(path)) {
            result = platform::Current().text->FromAnsi(FromFile(path, TargetIn));
        }
    });
    return result;
}

}  // namespace kel::modFiles
