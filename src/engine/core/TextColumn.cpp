#include "core/TextColumn.h"

#include <algorithm>
#include <limits>

#include "core/RuntimeError.h"
#include "platform/Platform.h"

namespace kel {

namespace {

constexpr std::size_t TidyFrom = std::size_t{64} * 1024;

bool IsAscii(std::string_view text) {
    unsigned char all = 0;
    for (const char c : text) {
        all = static_cast<unsigned char>(all | static_cast<unsigned char>(c));
    }
    return all < 0x80;
}

int HexDigit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

bool IsDigestText(std::string_view text) {
    return text.size() == DigestTextSize &&
           std::all_of(text.begin(), text.end(), [](char c) { return HexDigit(c) >= 0; });
}

void AppendDigest(std::string& data, std::string_view text) {
    for (std::size_t i = 0; i < DigestTextSize; i += 2) {
        data += static_cast<char>(static_cast<unsigned char>(HexDigit(text[i]) << 4 | HexDigit(text[i + 1])));
    }
}

std::string_view DigestText(const std::uint8_t* digest, std::string& scratch) {
    constexpr std::string_view digits = "0123456789abcdef";
    scratch.resize(DigestTextSize);
    for (std::size_t i = 0; i < DigestSize; ++i) {
        scratch[2 * i] = digits[digest[i] >> 4U];
        scratch[2 * i + 1] = digits[digest[i] & 15U];
    }
    return scratch;
}

const std::string& TextOf(const Value& value) {
    static const std::string none;
    const auto* text = std::get_if<std::string>(&value);
    return text == nullptr ? none : *text;
}

}  // namespace

std::unique_ptr<TextColumn> TextColumn::Over(const FieldDefinition& definition, const StoredColumn& stored) {
    auto column = std::make_unique<TextColumn>(definition);
    if (stored.encoding == ColumnEncoding::Digest) {
        column->digests_ = stored.data.data();
        column->Borrow(stored);
        return column;
    }
    if (stored.encoding != ColumnEncoding::Text) {
        return nullptr;
    }
    const std::size_t endBytes = stored.rows * sizeof(std::uint32_t);
    column->ends_ = stored.data.data();
    column->stored_ = {reinterpret_cast<const char*>(stored.data.data()) + endBytes, stored.data.size() - endBytes};
    column->Borrow(stored);
    std::uint32_t before = 0;
    for (std::size_t row = 0; row < stored.rows; ++row) {
        const auto end = LoadLittle<std::uint32_t>(column->ends_ + row * sizeof(std::uint32_t));
        if (end < before) {
            return nullptr;
        }
        before = end;
    }
    if (before != column->stored_.size()) {
        return nullptr;
    }
    if (!IsAscii(column->stored_)) {
        column->Own();
        const std::string utf8 = std::exchange(column->pool_, {});
        for (Place& place : column->places_) {
            const std::string_view text = std::string_view(utf8).substr(place.offset, place.length);
            place = column->Put(IsAscii(text) ? std::string(text) : platform::Current().text->FromUtf8(text));
        }
    }
    return column;
}

std::string_view TextColumn::Text(std::size_t row, std::string& scratch) const {
    if (digests_ != nullptr) {
        return DigestText(Digest(row), scratch);
    }
    if (ends_ != nullptr) {
        const std::size_t begin = row == 0 ? 0 : LoadLittle<std::uint32_t>(ends_ + (row - 1) * 4);
        const std::size_t end = LoadLittle<std::uint32_t>(ends_ + row * 4);
        return stored_.substr(begin, end - begin);
    }
    const Place& place = places_[row];
    return std::string_view(pool_).substr(place.offset, place.length);
}

TextColumn::Place TextColumn::Put(std::string_view text) {
    if (text.size() > std::numeric_limits<std::uint32_t>::max() - pool_.size()) {
        Raise(ErrOverflow, Definition().name);
    }
    const Place place{static_cast<std::uint32_t>(pool_.size()), static_cast<std::uint32_t>(text.size())};
    pool_ += text;
    return place;
}

void TextColumn::OwnValues() {
    std::vector<Place> places(Rows());
    std::string scratch;
    for (std::size_t row = 0; row < places.size(); ++row) {
        // A null digest is sixteen zeros in the file and an empty text here.
        places[row] = digests_ != nullptr && IsNull(row) ? Place{} : Put(Text(row, scratch));
    }
    places_ = std::move(places);
    digests_ = nullptr;
    ends_ = nullptr;
    stored_ = {};
}

void TextColumn::AppendValue(const Value& value) {
    places_.emplace_back();
    try {
        places_.back() = Put(TextOf(value));
    } catch (...) {
        places_.pop_back();
        throw;
    }
}

void TextColumn::DropLastValue() {
    waste_ += places_.back().length;
    places_.pop_back();
}

void TextColumn::AssignValue(std::size_t row, const Value& value) {
    const std::string& text = TextOf(value);
    Place& place = places_[row];
    waste_ += place.length;
    if (text.size() <= place.length) {
        text.copy(pool_.data() + place.offset, text.size());
        waste_ -= text.size();
        place.length = static_cast<std::uint32_t>(text.size());
    } else {
        place = Put(text);
    }
    if (waste_ > TidyFrom && waste_ > pool_.size() / 2) {
        Tidy();
    }
}

void TextColumn::Tidy() {
    const std::string old = std::exchange(pool_, {});
    for (Place& place : places_) {
        place = Put(std::string_view(old).substr(place.offset, place.length));
    }
    waste_ = 0;
}

void TextColumn::KeepValues(const std::vector<std::uint32_t>& rows) {
    for (std::size_t i = 0; i < rows.size(); ++i) {
        places_[i] = places_[rows[i]];
    }
    places_.resize(rows.size());
    Tidy();
}

bool TextColumn::AllDigests(const std::vector<std::uint32_t>& rows) const {
    std::string scratch;
    bool any = false;
    for (const std::uint32_t row : rows) {
        if (!IsNull(row)) {
            if (digests_ == nullptr && !IsDigestText(Text(row, scratch))) {
                return false;
            }
            any = true;
        }
    }
    return any;
}

RecordColumn::Encoded TextColumn::Encode(const std::vector<std::uint32_t>& rows, bool /*constantAllowed*/,
                                         std::string& data) const {
    std::string scratch;
    if (AllDigests(rows)) {
        for (const std::uint32_t row : rows) {
            if (IsNull(row)) {
                data.append(DigestSize, '\0');
            } else {
                AppendDigest(data, Text(row, scratch));
            }
        }
        return {ColumnEncoding::Digest, 0};
    }
    std::string pool;
    for (const std::uint32_t row : rows) {
        if (!IsNull(row)) {
            const std::string_view text = Text(row, scratch);
            if (IsAscii(text)) {
                pool += text;
            } else {
                pool += platform::Current().text->ToUtf8(text);
            }
        }
        if (pool.size() > std::numeric_limits<std::uint32_t>::max()) {
            Raise(ErrOverflow, Definition().name);
        }
        AppendLittle(data, static_cast<std::uint32_t>(pool.size()));
    }
    data += pool;
    return {ColumnEncoding::Text, 0};
}

}  // namespace kel
