#include "offline/AnsiCodePage.h"

#include <array>
#include <cerrno>
#include <utility>

namespace kel::offline {

namespace {

const iconv_t None = reinterpret_cast<iconv_t>(-1);

}  // namespace

AnsiCodePage::AnsiCodePage(const std::string& number) : converter_(::iconv_open("UTF-8", ("CP" + number).c_str())) {
    if (converter_ == None) {
        converter_ = ::iconv_open("UTF-8", "CP1252");
    }
}

AnsiCodePage::~AnsiCodePage() {
    if (converter_ != None) {
        ::iconv_close(converter_);
    }
}

AnsiCodePage::AnsiCodePage(AnsiCodePage&& other) noexcept : converter_(std::exchange(other.converter_, None)) {
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
        const bool known =
            converter_ != None && (::iconv(converter_, &in, &left, &out, &space) != std::size_t(-1) || errno == E2BIG);
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
