// The stage of the registry signatures, and the question whether a signature exists.
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Recordset.h"
#include "core/Value.h"
#include "scanner/RegistrySignatures.h"
#include "scanner/Scanner.h"

namespace kel {

namespace {

constexpr const char* Module = "Scanner";

// The filter for a signature; empty for data without the name of a value, which is no question: the table stands
// unfiltered then, and its first row answers.
std::string SignatureFilter(std::string_view hive, std::string_view key, std::string_view name, std::string_view data) {
    if (name.empty() && !data.empty()) {
        return {};
    }
    std::string filter;
    const auto add = [&filter](std::string_view column, std::string_view text) {
        filter.append(filter.empty() ? "" : " and ").append(column).append("='").append(text).append("'");
    };
    add("RegHive", hive);
    add("RegKey", key);
    if (!name.empty()) {
        add("RegValueName", name);
    }
    if (!data.empty()) {
        add("RegValueData", data);
    }
    return filter;
}

}  // namespace

void Scanner::ScanRegistry() {
    Trap(Module, "ScanRegistry", [&] {
        RegistrySignatures signatures(State().RegKeyRecordset);
        signatures.FilterByLevel(kel::OptMaxOptionLevel());
        for (; !signatures.Eof() && !ScanAbortFlag(); signatures.MoveNext()) {
            if (!signatures.ReadPlace()) {
                continue;
            }
            if (signatures.ReadQuestion()) {
                RequireCurrentScan()->EventStartingLocation(signatures.Location(), ScanTypeRegistry);
                signatures.Test();
            }
            DoEvents();
        }
    });
}

std::int32_t Scanner::IsRegKeyThreat(std::string_view RegHive, std::string_view Regkey, std::string_view RegValueName,
                                     const Value& RegValue) {
    std::int32_t threat = 0;
    Trap(Module, "IsRegKeyThreat", [&] {
        const std::shared_ptr<Recordset> rows = State().RegKeyRecordset;
        if (!rows) {
            Raise(ErrObjectNotSet);
        }
        rows->SetFilter({});
        const std::string data = IsNull(RegValue) ? std::string() : ToText(RegValue);
        const std::string filter = SignatureFilter(RegHive, Regkey, RegValueName, data);
        if (!filter.empty()) {
            rows->SetFilter(filter);
        }
        if (!rows->Eof()) {
            threat = ToLong(rows->Get("ThreatID"));
        }
    });
    return threat;
}

}  // namespace kel
