#include "offline/AnsiCodePage.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <utility>

namespace kel::offline {

namespace {

// What iconv_open answers for a code page that it does not know.
bool IsNone(iconv_t converter) {
    return reinterpret_cast<std::intptr_t>(converter) == -1;
}

iconv_t Open(const std::string& name) {
    iconv_t converter = ::iconv_open("UTF-8", name.c_str());
    return IsNone(converter) ? nullptr : converter;
}

}  // namespace

AnsiCodePage::AnsiCodePage(const std::string& number) : converter_(Open("CP" + number)) {
    if (converter_ == nullptr) {
        converter_ = Open("CP1252");
    }
}

AnsiCodePage::~AnsiCodePage() {
    if (converter_ != nullptr) {
        ::iconv_close(converter_);
    }
}

AnsiCodePage::AnsiCodePage(AnsiCodePage&& other) noexcept : converter_(std::exchange(other.converter_, nullptr)) {
}

AnsiCodePage& AnsiCodePage::operator=(AnsiCodePage&& other) noexcept {
    std::swap(converter_, other.converter_);
    return *this;
}

std::string AnsiCodePage::ToUtf8(std::string_view bytes) const {
    std::string text;
    text.reserve(bytes.size());
    std::array<char, 256> room{};
    auto* in = const_cast<char*>(bytes.data());  // iconv takes what it only reads as if it wrote
    std::size_t left = bytes.size();
    while (left > 0) {
        char* out = room.data();
        std::size_t space = room.size();
        const bool known = converter_ != nullptr &&
                           (::iconv(converter_, &in, &left, &out, &space) != std::size_t(-1) || errno == E2BIG);
        text.append(room.data(), room.size() - space);
        if (known) {
            continue;
        }
        const auto byte = static_cast<unsigned char>(*in);
        if (byte < 0x80) {
            text += static_cast<char>(byte);
        } else {
            text += static_cast<char>(0xC0U | byte >> 6U);
            text += static_cast<char>(0x80U | (byte & 0x3FU));
        }
        ++in;
        --left;
    }
    return text;
}

}  // namespace kel::offline
