// modMain.InitializeThreatData.
#include <array>
#include <cstddef>
#include <limits>
#include <string>
#include <variant>

#include "catalogue/LoadingTables.h"
#include "catalogue/MissingFile.h"
#include "catalogue/ShippedTables.h"
#include "catalogue/clsThreat.h"
#include "catalogue/modMain.h"
#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Paths.h"
#include "core/Recordset.h"
#include "core/RuntimeError.h"
#include "core/Text.h"
#include "core/Value.h"
#include "platform/Platform.h"

namespace kel::modMain {

namespace {

using Member = std::variant<std::string clsThreat::*, std::int32_t clsThreat::*, bool clsThreat::*>;

struct Column {
    std::size_t position;
    Member member;
    bool asItStands = false;  ///< a null ends the load, and a text keeps its blanks
};

// In the order in which they are read, which shows only in which column a broken row is blamed on.
constexpr std::array Columns{
    Column{6, &clsThreat::ThreatAuthorURL},      Column{9, &clsThreat::ThreatAdviseDetails},
    Column{8, &clsThreat::ThreatAdviseType},     Column{5, &clsThreat::ThreatAuthor},
    Column{10, &clsThreat::ThreatCanQuarantine}, Column{2, &clsThreat::ThreatCategory, true},
    Column{12, &clsThreat::ThreatCustomData},    Column{11, &clsThreat::ThreatCustomRemovalType},
    Column{4, &clsThreat::ThreatDesc},           Column{0, &clsThreat::ThreatID, true},
    Column{7, &clsThreat::ThreatLevel},          Column{1, &clsThreat::ThreatName},
    Column{13, &clsThreat::ThreatOptionLevel},   Column{3, &clsThreat::ThreatType, true},
};

constexpr std::size_t VersionColumn = 1;

void Read(const Value& value, std::string& into, bool asItStands) {
    const std::string text = ToText(value);
    into = asItStands ? text : std::string(Trim(text));
}
void Read(const Value& value, std::int32_t& into, bool /*asItStands*/) {
    into = ToLong(value);
}
void Read(const Value& value, bool& into, bool /*asItStands*/) {
    into = ToBoolean(value);
}

std::shared_ptr<clsThreat> ReadThreat(const Recordset& rows) {
    auto threat = std::make_shared<clsThreat>();
    for (const Column& column : Columns) {
        const Value value = rows.Get(column.position);
        if (IsNull(value) && !column.asItStands) {
            continue;
        }
        std::visit([&](auto member) { Read(value, (*threat).*member, column.asItStands); }, column.member);
    }
    return threat;
}

std::int32_t FileLength(const std::string& path) {
    const auto length = platform::Current().files->Length(path);
    if (!length) {
        paths::RaiseFileError(length.Error(), path);
    }
    if (*length > static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max())) {
        Raise(ErrOverflow);
    }
    return static_cast<std::int32_t>(*length);
}

std::string ReadVersion(Recordset& rows) {
    rows.SetFilter("ThreatID=0");
    std::string version = ToText(rows.Get(VersionColumn));
    rows.SetFilter("");
    return version;
}

}  // namespace

bool InitializeThreatData() {
    EngineState& state = State();
    const LoadingTable rows(ModuleData<LoadingTables>().ThreatData);
    Trap("modMain", "InitializeThreatData", [&] {
        state.ThreatCatalog = std::make_shared<Collection<std::shared_ptr<clsThreat>>>();
        const std::string path = shipped::Path(shipped::ThreatData);
        state.ThreatDataFileLength = FileLength(path);
        if (platform::Current().files->PathExists(path)) {
            rows->Open(path);
            state.ThreatDataVersion = ReadVersion(*rows);
        } else {
            ReportMissingFile("Threat Data", path);
        }
        for (; !rows->Eof(); rows->MoveNext()) {
            const auto threat = ReadThreat(*rows);
            state.ThreatCatalog->Add(threat, Text(threat->ThreatID));
        }
        rows->Close();
    });
    return true;
}

}  // namespace kel::modMain
