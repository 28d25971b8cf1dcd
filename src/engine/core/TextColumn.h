// Columns of texts.
#pragma once

#include "core/LittleEndian.h"
#include "core/RecordColumn.h"

namespace kel {

/// VarChar. Over the image of a file: packed digests, or ends and a pool of pure ASCII; a pool with other characters
/// is converted to the machine's code page when the column is made, and owned from then on. Owned: a place and a length
/// for each row in one pool, where a longer replacement goes to the end and the pool is tidied now and then.
class TextColumn final : public RecordColumn {
public:
    using RecordColumn::RecordColumn;
    static std::unique_ptr<TextColumn> Over(const FieldDefinition& definition, const StoredColumn& stored);

    [[nodiscard]] std::string_view Text(std::size_t row, std::string& scratch) const override;
    [[nodiscard]] const std::uint8_t* Digest(std::size_t row) const override {
        return digests_ == nullptr ? nullptr : digests_ + row * DigestSize;
    }
    Encoded Encode(const std::vector<std::uint32_t>& rows, bool constantAllowed, std::string& data) const override;

protected:
    void OwnValues() override;
    void AppendValue(const Value& value) override;
    void DropLastValue() override;
    void AssignValue(std::size_t row, const Value& value) override;
    void KeepValues(const std::vector<std::uint32_t>& rows) override;

private:
    struct Place {
        std::uint32_t offset = 0;
        std::uint32_t length = 0;
    };

    [[nodiscard]] bool AllDigests(const std::vector<std::uint32_t>& rows) const;
    [[nodiscard]] Place Put(std::string_view text);
    void Tidy();

    const std::uint8_t* digests_ = nullptr;
    const std::uint8_t* ends_ = nullptr;
    std::string_view stored_;  ///< the pool behind ends_
    std::vector<Place> places_;
    std::string pool_;
    std::size_t waste_ = 0;  ///< bytes of pool_ that no row uses
};

}  // namespace kel
