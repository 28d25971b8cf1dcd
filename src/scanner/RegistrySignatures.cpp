#include "scanner/RegistrySignatures.h"

#include <iterator>
#include <string_view>
#include <utility>

#include "core/RuntimeError.h"
#include "core/Text.h"
#include "core/Value.h"
#include "results/Scan.h"
#include "rules/modCleanerHelper.h"
#include "scanner/modScannerRegistry.h"
#include "system/modHelper.h"
#include "system/modRegistry.h"

namespace kel {

namespace {

// In the order of the columns of RegistrySignatures.
constexpr std::string_view ColumnNames[] = {"ThreatID",     "RegHive",      "RegKey",
                                            "RegValueName", "RegValueData", "OptionalScan"};

std::optional<std::size_t> PlaceOf(const Recordset& rows, std::string_view name) {
    for (std::size_t place = 0; place < rows.FieldCount(); ++place) {
        if (EqualText(rows.Field(place).name, name)) {
            return place;
        }
    }
    return std::nullopt;
}

// Without one backslash at each end.
std::string BareKey(std::string_view key) {
    if (key.starts_with('\\')) {
        key.remove_prefix(1);
    }
    if (key.ends_with('\\')) {
        key.remove_suffix(1);
    }
    return std::string(key);
}

}  // namespace

RegistrySignatures::RegistrySignatures(std::shared_ptr<Recordset> rows) : rows_(std::move(rows)) {
    static_assert(std::size(ColumnNames) == ColumnCount);
    if (!rows_) {
        Raise(ErrObjectNotSet);
    }
    for (std::size_t column = 0; column < ColumnCount; ++column) {
        places_[column] = PlaceOf(*rows_, ColumnNames[column]);
    }
}

void RegistrySignatures::FilterByLevel(std::int16_t highest) {
    ClearFilter();
    if (places_[OptionalScan]) {
        rows_->SetFilter("OptionalScan<=" + kel::Text(highest));
    }
}

void RegistrySignatures::FilterByThreat(std::int32_t threatID) {
    ClearFilter();
    // Not left out like a missing level: the rows of all threats would count as this one's.
    rows_->SetFilter("ThreatID=" + kel::Text(threatID));
}

void RegistrySignatures::ClearFilter() {
    rows_->SetFilter({});
}

bool RegistrySignatures::Eof() const {
    return rows_->Eof();
}

void RegistrySignatures::MoveNext() {
    rows_->MoveNext();
}

std::string RegistrySignatures::TextOf(Column column) const {
    return places_[column] ? ToText(rows_->Get(*places_[column])) : std::string();
}

std::string RegistrySignatures::TextOrEmpty(Column column) const {
    if (!places_[column]) {
        return {};
    }
    const Value value = rows_->Get(*places_[column]);
    return IsNull(value) ? std::string() : ToText(value);
}

std::int16_t RegistrySignatures::Level() const {
    return places_[OptionalScan] ? ToInteger(rows_->Get(*places_[OptionalScan])) : std::int16_t{0};
}

bool RegistrySignatures::ReadPlace() {
    hiveName_ = TextOf(RegHive);
    hive_ = modHelper::GetRegistryHiveFromHiveName(hiveName_);
    key_ = BareKey(TextOf(RegKey));
    // A key of backslashes alone would be the hive itself, which is no threat's.
    return hive_ != 0 && !key_.empty();
}

bool RegistrySignatures::ReadQuestion() {
    name_ = TextOrEmpty(RegValueName);
    data_ = TextOrEmpty(RegValueData);
    if (name_.empty() && !data_.empty()) {
        return false;
    }
    threatID_ = places_[ThreatID] ? ToLong(rows_->Get(*places_[ThreatID])) : 0;
    return true;
}

void RegistrySignatures::Test() const {
    if (name_.empty()) {
        TestKey();
    } else {
        TestValue();
    }
}

void RegistrySignatures::TestKey() const {
    if (modRegistry::RegKeyExists(hive_, key_) && !modCleanerHelper::RestrictRemoveRegistryKey(hive_, key_)) {
        RequireCurrentScan()->AddDetectedThreatRegKey(ScanTypeRegistry, threatID_, hive_, key_);
        modScannerRegistry::AddDetectedThreatRegistryRelations(threatID_, hive_, key_, {}, {});
        modScannerRegistry::AddDetectedThreatRegistrySubItems(threatID_, hive_, key_);
    }
}

void RegistrySignatures::TestValue() const {
    const bool there = data_.empty() ? modRegistry::RegValueExists(hive_, key_, name_)
                                     : modRegistry::RegValueDataEquals(hive_, key_, name_, data_);
    if (there && !modCleanerHelper::RestrictRemoveRegistryValue(hive_, key_, name_)) {
        RequireCurrentScan()->AddDetectedThreatRegKey(ScanTypeRegistry, threatID_, hive_, key_, name_, data_, Level());
        modScannerRegistry::AddDetectedThreatRegistryRelations(threatID_, hive_, key_, name_, data_);
    }
}

}  // namespace kel
