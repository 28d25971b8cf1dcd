// Table files: whatever the bytes, a table is read whole or refused; one that was read can be walked, filtered,
// changed, and written so that it comes back the same.
#include <xxhash.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "MemoryFiles.h"
#include "core/DigestOrder.h"
#include "core/LittleEndian.h"
#include "core/NumberColumn.h"
#include "core/Recordset.h"
#include "core/RuntimeError.h"
#include "core/SdbFile.h"
#include "offline/OfflineClock.h"
#include "offline/OfflineText.h"
#include "platform/Platform.h"

namespace {

using namespace kel;

constexpr std::size_t FileSizeAt = 16;
constexpr std::size_t ChecksumAt = 24;
constexpr std::size_t HeaderSize = 32;

void Require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

// Length and checksum as they must be, so that what comes behind them is reached.
std::string Forged(std::string image) {
    if (image.size() >= HeaderSize) {
        auto* bytes = reinterpret_cast<std::uint8_t*>(image.data());
        StoreLittle(bytes + FileSizeAt, std::uint64_t{image.size()});
        const auto head = XXH3_64bits(bytes, ChecksumAt);
        StoreLittle(bytes + ChecksumAt, XXH3_64bits_withSeed(bytes + HeaderSize, image.size() - HeaderSize, head));
    }
    return image;
}

bool OpenTable(Recordset& table, const char* path) {
    try {
        table.Open(path);
        return true;
    } catch (const RuntimeError& error) {
        Require(error.Number() == ErrDamagedTable, "a file that is refused is a damaged one");
        Require(!table.IsOpen(), "a refused table is closed");
        return false;
    }
}

std::vector<Value> Values(Recordset& table) {
    std::vector<Value> values;
    for (table.SetFilter(""); !table.Eof(); table.MoveNext()) {
        for (std::size_t i = 0; i < table.FieldCount(); ++i) {
            values.push_back(table.Get(i));
        }
    }
    return values;
}

void ReadByColumn(const Recordset& table) {
    for (std::size_t i = 0; i < table.FieldCount(); ++i) {
        const auto column = table.ReadColumn(i);
        const FieldType type = table.Field(i).type;
        std::size_t sum = 0;
        for (std::size_t row = 0; row < table.RowCount(); ++row) {
            if (column->IsNull(row)) {
                continue;
            }
            if (type == FieldType::VarChar) {
                sum += column->Text(row).size();
                sum += column->Digest(row) == nullptr ? 0U : column->Digest(row)[15];
            } else if (type != FieldType::Date && type != FieldType::Numeric) {
                sum += static_cast<std::uint32_t>(column->Number(row));
            }
        }
        volatile std::size_t sink = sum;
        (void)sink;
    }
}

// A table that is read where it lies, as large ones are.
void ReadInPlace(const char* path, Recordset& table) {
    SdbTable large;
    try {
        large = ReadSdb(path, 0);
    } catch (const RuntimeError& error) {
        Require(false, "a large table is refused as a small one is");
    }
    Require(large.rows == table.RowCount() && large.columns.size() == table.FieldCount(), "it has the same rows");
    for (std::size_t i = 0; i < large.columns.size(); ++i) {
        const auto* numbers = dynamic_cast<const NumberColumn*>(large.columns[i].get());
        const auto column = table.ReadColumn(i);
        for (std::size_t row = 0; numbers != nullptr && row < large.rows; ++row) {
            Require(column->IsNull(row) || numbers->Form().At(row) == column->Number(row), "it has the same numbers");
        }
    }
    if (large.order) {
        const DigestOrder& order = *large.order;
        Require(order.Rows() == large.rows, "an order is of all rows");
        for (std::size_t row = 0; row < large.rows; ++row) {
            Require(order.Find(Digest::Of(order.Digests() + row * DigestSize)) == row, "each digest is in its row");
        }
    }
}

void Exercise(fuzz::MemoryFiles& files) {
    Recordset table;
    if (!OpenTable(table, "in")) {
        return;
    }
    ReadByColumn(table);
    ReadInPlace("in", table);
    const std::vector<Value> values = Values(table);
    Require(values.size() == table.RowCount() * table.FieldCount(), "a walk meets every row");

    // What is not valid text becomes question marks in the first writing, and stays as it is from then on.
    files.Remove("first");
    files.Remove("second");
    table.Save("first");
    Recordset first;
    first.Open("first");
    const std::vector<Value> again = Values(first);
    Require(again.size() == values.size(), "a table comes back with all its rows");
    first.Save("second");
    Require(files.Get("first") == files.Get("second"), "the same rows give the same bytes");

    if (table.RowCount() != 0) {
        table.MoveFirst();
        table.AddNew();
        table.Update();
        table.MoveFirst();
        table.Delete();
        Require(table.RowCount() * table.FieldCount() == values.size(), "one row more and one less");
        Values(table);
    }
}

// The lookup in place: whatever the digests are, an order is one exactly when each exceeds the one before it, and then
// each is found in its row, and no other.
void LookUpInPlace(const std::uint8_t* data, std::size_t size) {
    const std::size_t rows = size / DigestSize;
    // Exactly as long, so that the sanitizer sees every read past the end.
    const std::vector<std::uint8_t> packed(data, data + rows * DigestSize);
    const auto at = [&](std::size_t row) { return Digest::Of(&packed[row * DigestSize]); };
    bool ascends = rows != 0;
    for (std::size_t row = 1; row < rows; ++row) {
        ascends = ascends && std::memcmp(&packed[(row - 1) * DigestSize], &packed[row * DigestSize], DigestSize) < 0;
    }
    auto order = DigestOrder::Begin(packed.data(), rows);
    if (order) {
        for (std::size_t end = 0; end < packed.size(); end += 1 + data[0]) {
            order->TakeUpTo(packed.data() + end);
        }
        if (!order->Finish()) {
            order.reset();
        }
    }
    Require((order != nullptr) == ascends, "an order is one exactly when the digests ascend");
    if (!order) {
        return;
    }
    for (std::size_t row = 0; row < rows; ++row) {
        Require(order->Find(at(row)) == row, "each digest is found in its row");
        Digest other = at(row);
        other.second ^= 1U << 31;
        const std::size_t found = order->Find(other);
        Require(found == DigestOrder::None || at(found) == other, "no digest is found in place of another");
    }
}

// The same digests in order, each once.
void LookUpSorted(const std::uint8_t* data, std::size_t size) {
    std::vector<std::array<std::uint8_t, DigestSize>> digests(size / DigestSize);
    if (digests.empty()) {
        return;
    }
    std::memcpy(digests.data(), data, digests.size() * DigestSize);
    std::sort(digests.begin(), digests.end());
    digests.erase(std::unique(digests.begin(), digests.end()), digests.end());
    LookUpInPlace(digests.front().data(), digests.size() * DigestSize);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::MemoryFiles files;
    offline::OfflineText text;
    offline::OfflineClock clock;
    platform::Platform platform;
    platform.files = &files;
    platform.text = &text;
    platform.clock = &clock;
    const platform::PlatformScope installed(platform);
    LookUpInPlace(data, size);
    LookUpSorted(data, size);
    const std::string image(reinterpret_cast<const char*>(data), size);
    files.Put("in", image);
    Exercise(files);
    files.Put("in", Forged(image));
    Exercise(files);
    return 0;
}
