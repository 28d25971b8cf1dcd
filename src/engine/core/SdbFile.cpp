#include "core/SdbFile.h"

#include <xxhash.h>

#include <algorithm>
#include <array>
#include <limits>
#include <new>
#include <optional>
#include <span>
#include <utility>

#include "core/LargeArray.h"
#include "core/LittleEndian.h"
#include "core/Paths.h"
#include "core/RuntimeError.h"
#include "core/Text.h"
#include "platform/Platform.h"

namespace kel {

namespace {

using Bytes = std::span<const std::uint8_t>;

// CR LF catches a file that went through a text-mode copy.
constexpr std::string_view Magic{"KELSDB\r\n", 8};
constexpr std::uint16_t Version = 1;

// Places in the header, and its size.
constexpr std::size_t VersionAt = 8;
constexpr std::size_t ColumnCountAt = 10;
constexpr std::size_t RowCountAt = 12;
constexpr std::size_t FileSizeAt = 16;
constexpr std::size_t ChecksumAt = 24;
constexpr std::size_t HeaderSize = 32;

// Places in the description of a column, and its size.
constexpr std::size_t TypeAt = 0;
constexpr std::size_t EncodingAt = 2;
constexpr std::size_t HasNullsAt = 3;
constexpr std::size_t SizeAt = 4;
constexpr std::size_t BaseAt = 8;
constexpr std::size_t NameBytesAt = 12;
constexpr std::size_t DataBytesAt = 16;
constexpr std::size_t ColumnSize = 24;

constexpr std::size_t Alignment = 8;

// In pieces that the cache holds, so that `order`, if there is one, finds its digests there.
constexpr std::size_t PieceSize = std::size_t{128} * 1024;

std::uint64_t ChecksumOf(Bytes image, DigestOrder* order = nullptr) {
    // Not on the stack, which is not always aligned as the state must be.
    struct Free {
        void operator()(XXH3_state_t* state) const { XXH3_freeState(state); }
    };
    const std::unique_ptr<XXH3_state_t, Free> state(XXH3_createState());
    if (!state) {
        throw std::bad_alloc();
    }
    XXH3_64bits_reset_withSeed(state.get(), XXH3_64bits(image.data(), ChecksumAt));
    for (std::size_t at = HeaderSize; at < image.size(); at += PieceSize) {
        const Bytes piece = image.subspan(at, std::min(PieceSize, image.size() - at));
        XXH3_64bits_update(state.get(), piece.data(), piece.size());
        if (order != nullptr) {
            order->TakeUpTo(piece.data() + piece.size());
        }
    }
    return XXH3_64bits_digest(state.get());
}

// A copy of a file that must be left alone.
class CopiedView final : public platform::FileView {
public:
    explicit CopiedView(std::span<const std::byte> bytes) : bytes_(bytes.size()), size_(bytes.size()) {
        std::copy(bytes.begin(), bytes.end(), bytes_.Get());
    }
    [[nodiscard]] std::span<const std::byte> Bytes() const override { return {bytes_.Get(), size_}; }

private:
    LargeArray<std::byte> bytes_;
    std::size_t size_;
};

bool IsKnownType(std::uint16_t type) {
    switch (static_cast<FieldType>(type)) {
        case FieldType::Integer:
        case FieldType::SmallInt:
        case FieldType::Date:
        case FieldType::Boolean:
        case FieldType::Numeric:
        case FieldType::VarChar:
            return true;
    }
    return false;
}

// Data bytes that a column must have. A pool's length is its own; no value for an unknown encoding.
std::optional<std::uint64_t> ExpectedData(std::uint8_t encoding, std::uint64_t rows, std::uint64_t told) {
    switch (static_cast<ColumnEncoding>(encoding)) {
        case ColumnEncoding::Constant:
            return 0;
        case ColumnEncoding::Offset8:
            return rows;
        case ColumnEncoding::Offset16:
            return rows * 2;
        case ColumnEncoding::Offset32:
            return rows * 4;
        case ColumnEncoding::Real:
            return rows * sizeof(double);
        case ColumnEncoding::Text:
            return told < rows * 4 ? rows * 4 : told;
        case ColumnEncoding::Digest:
            return rows * DigestSize;
    }
    return std::nullopt;
}

// Null when no row has a digest.
const RecordColumn* DigestsOf(const SdbTable& table) {
    for (const auto& column : table.columns) {
        if (table.rows != 0 && column->Digest(0) != nullptr) {
            return column.get();
        }
    }
    return nullptr;
}

// Walks the sections of an image from front to back and never past its end.
class ImageReader {
public:
    ImageReader(Bytes image, bool large) : image_(image), large_(large) {}

    // False at the first thing that is not as it must be.
    bool Read(SdbTable& table) {
        if (!ReadHeader()) {
            return false;
        }
        std::vector<FieldDefinition> fields;
        if (!ReadFields(fields)) {
            return false;
        }
        for (std::size_t i = 0; i < fields.size(); ++i) {
            auto column = ReadColumn(fields[i], Description(i));
            if (!column) {
                return false;
            }
            table.columns.push_back(std::move(column));
        }
        table.rows = rows_;
        return at_ == image_.size() && TestBytes(table);
    }

private:
    bool ReadHeader() {
        if (image_.size() < HeaderSize || !std::equal(Magic.begin(), Magic.end(), image_.begin(), [](char a, auto b) {
                return static_cast<std::uint8_t>(a) == b;
            })) {
            return false;
        }
        columns_ = LoadLittle<std::uint16_t>(&image_[ColumnCountAt]);
        rows_ = LoadLittle<std::uint32_t>(&image_[RowCountAt]);
        at_ = HeaderSize;
        return LoadLittle<std::uint16_t>(&image_[VersionAt]) == Version &&
               LoadLittle<std::uint64_t>(&image_[FileSizeAt]) == image_.size() && columns_ >= 1 &&
               columns_ <= MaxColumns && rows_ <= std::numeric_limits<std::int32_t>::max();
    }

    // The one pass over all bytes of a large table: its checksum, and the order of its digests.
    bool TestBytes(SdbTable& table) const {
        std::unique_ptr<DigestOrder> order = large_ ? BeginOrder(table) : nullptr;
        if (LoadLittle<std::uint64_t>(&image_[ChecksumAt]) != ChecksumOf(image_, order.get())) {
            return false;
        }
        if (order && order->Finish()) {
            table.order = std::move(order);
        }
        return true;
    }

    static std::unique_ptr<DigestOrder> BeginOrder(const SdbTable& table) {
        const RecordColumn* const digests = DigestsOf(table);
        return digests == nullptr || digests->HasNulls() ? nullptr : DigestOrder::Begin(digests->Digest(0), table.rows);
    }

    // The next section; nothing when the image ends before it does.
    std::optional<Bytes> Take(std::uint64_t size) {
        const std::uint64_t left = image_.size() - at_;
        const std::uint64_t padded = size > left ? size : (size + Alignment - 1) / Alignment * Alignment;
        if (padded > left) {
            return std::nullopt;
        }
        const Bytes section = image_.subspan(at_, static_cast<std::size_t>(size));
        at_ += static_cast<std::size_t>(padded);
        return section;
    }

    [[nodiscard]] const std::uint8_t* Description(std::size_t column) const {
        return &image_[HeaderSize + column * ColumnSize];
    }

    bool ReadFields(std::vector<FieldDefinition>& fields) {
        if (!Take(columns_ * ColumnSize)) {
            return false;
        }
        std::uint64_t nameBytes = 0;
        for (std::size_t i = 0; i < columns_; ++i) {
            nameBytes += LoadLittle<std::uint32_t>(Description(i) + NameBytesAt);
        }
        auto names = Take(nameBytes);
        if (!names) {
            return false;
        }
        for (std::size_t i = 0; i < columns_; ++i) {
            const std::uint8_t* description = Description(i);
            const auto type = LoadLittle<std::uint16_t>(description + TypeAt);
            const std::size_t length = LoadLittle<std::uint32_t>(description + NameBytesAt);
            if (!IsKnownType(type) || length == 0) {
                return false;
            }
            const std::string_view name(reinterpret_cast<const char*>(names->data()), length);
            fields.push_back({platform::Current().text->FromUtf8(name), static_cast<FieldType>(type),
                              LoadLittle<std::uint32_t>(description + SizeAt)});
            *names = names->subspan(length);
            for (std::size_t before = 0; before < i; ++before) {
                if (EqualText(fields[before].name, fields[i].name)) {
                    return false;
                }
            }
        }
        return true;
    }

    std::unique_ptr<RecordColumn> ReadColumn(const FieldDefinition& field, const std::uint8_t* description) {
        const auto told = LoadLittle<std::uint64_t>(description + DataBytesAt);
        const auto expected = ExpectedData(description[EncodingAt], rows_, told);
        if (!expected || *expected != told || description[HasNullsAt] > 1) {
            return nullptr;
        }
        StoredColumn stored;
        stored.encoding = static_cast<ColumnEncoding>(description[EncodingAt]);
        stored.base = static_cast<std::int32_t>(LoadLittle<std::uint32_t>(description + BaseAt));
        stored.rows = rows_;
        // The first column takes room in every row, so the row count is never more than the file's size.
        if (stored.encoding == ColumnEncoding::Constant && description == Description(0)) {
            return nullptr;
        }
        if (description[HasNullsAt] != 0) {
            const auto nulls = Take((std::uint64_t{rows_} + 7) / 8);
            if (!nulls) {
                return nullptr;
            }
            stored.nulls = *nulls;
        }
        const auto data = Take(told);
        if (!data) {
            return nullptr;
        }
        stored.data = *data;
        return RecordColumn::Make(field, stored);
    }

    Bytes image_;
    bool large_;
    std::size_t at_ = 0;
    std::size_t columns_ = 0;
    std::uint32_t rows_ = 0;
};

std::shared_ptr<const DigestOrder> Keeping(std::shared_ptr<platform::FileView> image,
                                           std::shared_ptr<const DigestOrder> order) {
    struct Pair {
        std::shared_ptr<platform::FileView> image;
        std::shared_ptr<const DigestOrder> order;
    };
    const DigestOrder* const kept = order.get();
    return {std::make_shared<Pair>(Pair{std::move(image), std::move(order)}), kept};
}

void Pad(std::string& image) {
    image.resize((image.size() + Alignment - 1) / Alignment * Alignment, '\0');
}

std::string NullBits(const RecordColumn& column, const std::vector<std::uint32_t>& rows) {
    std::string bits;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (column.IsNull(rows[i])) {
            bits.resize((rows.size() + 7) / 8);
            bits[i / 8] = static_cast<char>(static_cast<unsigned char>(bits[i / 8]) | 1U << (i % 8));
        }
    }
    return bits;
}

std::string MakeImage(const std::vector<std::unique_ptr<RecordColumn>>& columns,
                      const std::vector<std::uint32_t>& rows) {
    std::string descriptions;
    std::string image(HeaderSize + columns.size() * ColumnSize, '\0');
    for (const auto& column : columns) {
        image += platform::Current().text->ToUtf8(column->Definition().name);
    }
    Pad(image);
    for (const auto& column : columns) {
        const FieldDefinition& field = column->Definition();
        const std::string nulls = NullBits(*column, rows);
        image += nulls;
        Pad(image);
        const std::size_t start = image.size();
        const auto encoded = column->Encode(rows, column != columns.front(), image);
        AppendLittle(descriptions, static_cast<std::uint16_t>(field.type));
        AppendLittle(descriptions, static_cast<std::uint8_t>(encoded.encoding));
        AppendLittle(descriptions, static_cast<std::uint8_t>(nulls.empty() ? 0 : 1));
        AppendLittle(descriptions, field.size);
        AppendLittle(descriptions, static_cast<std::uint32_t>(encoded.base));
        AppendLittle(descriptions, static_cast<std::uint32_t>(platform::Current().text->ToUtf8(field.name).size()));
        AppendLittle(descriptions, std::uint64_t{image.size() - start});
        Pad(image);
    }
    std::string header(Magic);
    AppendLittle(header, Version);
    AppendLittle(header, static_cast<std::uint16_t>(columns.size()));
    AppendLittle(header, static_cast<std::uint32_t>(rows.size()));
    AppendLittle(header, std::uint64_t{image.size()});
    image.replace(0, header.size(), header);
    image.replace(HeaderSize, descriptions.size(), descriptions);
    auto* bytes = reinterpret_cast<std::uint8_t*>(image.data());
    StoreLittle(bytes + ChecksumAt, ChecksumOf({bytes, image.size()}));
    return image;
}

}  // namespace

SdbTable ReadSdb(std::string_view path, std::size_t largeFrom) {
    auto opened = platform::Current().files->View(path);
    if (!opened) {
        paths::RaiseFileError(opened.Error(), path);
    }
    std::shared_ptr<platform::FileView> view = std::move(opened).Value();
    const bool large = view->Bytes().size() >= largeFrom;
    if (large && view->HoldsFile()) {
        view = std::make_shared<CopiedView>(view->Bytes());
    }
    const Bytes bytes{reinterpret_cast<const std::uint8_t*>(view->Bytes().data()), view->Bytes().size()};
    SdbTable table;
    if (!ImageReader(bytes, large).Read(table)) {
        Raise(ErrDamagedTable, path);
    }
    if (large && DigestsOf(table) != nullptr) {
        if (table.order) {
            // The order alone is enough to keep what it is of.
            table.order = Keeping(view, std::move(table.order));
        } else {
            // Testing the checksum has read all of it; a loader reads a part after the other.
            view->LetGo(view->Bytes());
        }
        table.image = std::move(view);
        return table;
    }
    for (const auto& column : table.columns) {
        column->Own();
    }
    return table;
}

void WriteSdb(std::string_view path, const std::vector<std::unique_ptr<RecordColumn>>& columns,
              const std::vector<std::uint32_t>& rows) {
    const std::string image = MakeImage(columns, rows);
    platform::Files& files = *platform::Current().files;
    platform::SysError failure = platform::SysError::Success;
    {
        auto file = files.Open(path, platform::OpenMode::CreateNew);
        if (!file) {
            paths::RaiseFileError(file.Error(), path);
        }
        failure = (*file)->Write(std::as_bytes(std::span(image)));
        if (failure == platform::SysError::Success) {
            failure = (*file)->Flush();
        }
    }
    if (failure != platform::SysError::Success) {
        files.Remove(path);
        paths::RaiseFileError(failure, path);
    }
}

}  // namespace kel
