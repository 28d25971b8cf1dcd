#include "kelsdb/TableBuilder.h"

#include <algorithm>
#include <utility>

#include "catalogue/DigestIndex.h"
#include "core/Text.h"
#include "kelsdb/FieldValues.h"

namespace kel::kelsdb {

namespace {

// Keys are compared as the engine does it: trimmed, without regard to case.
std::string Folded(std::string_view key) {
    return LCase(Trim(key));
}

}  // namespace

TableBuilder::TableBuilder(const TableKind& kind, std::vector<std::size_t> columns)
    : kind_(kind), columns_(std::move(columns)) {
    for (const std::size_t column : columns_) {
        const ColumnKind& definition = kind_.columns[column];
        rows_.AppendField(definition.name, definition.type, definition.size);
    }
    rows_.Open();
}

std::string TableBuilder::Add(const std::vector<CsvField>& fields, std::size_t line) {
    if (fields.size() != columns_.size()) {
        return Text(static_cast<std::int64_t>(fields.size())) + " fields instead of " +
               Text(static_cast<std::int64_t>(columns_.size()));
    }
    std::vector<Value> values;
    values.reserve(fields.size());
    for (std::size_t i = 0; i < fields.size(); ++i) {
        FieldOutcome outcome = FieldValue(kind_.columns[columns_[i]], fields[i]);
        if (!outcome.refusal.empty()) {
            return outcome.refusal;
        }
        values.push_back(std::move(outcome.value));
    }
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        if (columns_[i] == kind_.key) {
            if (std::string reason = TakeKey(values[i], line); !reason.empty()) {
                return reason;
            }
        }
    }
    rows_.AddNew();
    for (std::size_t i = 0; i < values.size(); ++i) {
        rows_.Set(i, values[i]);
    }
    rows_.Update();
    ++count_;
    return {};
}

bool TableBuilder::Has(std::string_view key) const {
    return lines_.contains(Folded(key));
}

std::optional<std::size_t> TableBuilder::Order() const {
    const auto key = std::find(columns_.begin(), columns_.end(), kind_.key);
    return kind_.digests && key != columns_.end() ? std::optional(static_cast<std::size_t>(key - columns_.begin()))
                                                  : std::nullopt;
}

std::string TableBuilder::TakeKey(Value& key, std::size_t line) {
    std::string folded = Folded(ToText(key));
    if (kind_.digests) {
        if (!ParseDigest(folded)) {
            return "Key is no MD5 of 32 hexadecimal digits";
        }
        key = folded;
    }
    const auto [found, added] = lines_.try_emplace(std::move(folded), line);
    if (added) {
        return {};
    }
    return std::string(kind_.columns[kind_.key].name) + " is there already, from line " +
           Text(static_cast<std::int64_t>(found->second));
}

}  // namespace kel::kelsdb
