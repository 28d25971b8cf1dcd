// Reading the quarantine. What brings things back, or forgets them, is in QuarantineRestore.
#include "quarantine/Quarantine.h"

#include "core/Failures.h"
#include "core/Recordset.h"
#include "core/Text.h"
#include "core/Value.h"
#include "platform/Platform.h"
#include "quarantine/QuarantineTables.h"
#include "results/Required.h"

namespace kel {

namespace {

using quarantine::OfThreat;
using quarantine::Opened;

constexpr const char* Module = "Quarantine";

std::string OfThreatID(std::int32_t ThreatID) {
    return "ThreatID=" + Text(ThreatID);
}

// Whether the index has a row that the filter lets through.
bool HasRow(const std::string& filter) {
    Recordset& index = Opened(quarantine::Threats);
    index.SetFilter(filter);
    const bool found = !index.Eof();
    index.SetFilter({});
    return found;
}

// The current row of the index.
std::shared_ptr<QuarantineThreat> ReadThreat(const Recordset& index) {
    auto threat = std::make_shared<QuarantineThreat>();
    threat->QuarantineThreatID = ToText(index.Get("QThreatID"));
    threat->ThreatID = ToLong(index.Get("ThreatID"));
    threat->ScanID = ToText(index.Get("ScanID"));
    threat->QuarantineDate = ToText(index.Get("QuarantineDate"));
    threat->QuarantinePath = ToText(index.Get("QuarantinePath"));
    threat->ThreatName = ToText(index.Get("ThreatName"));
    threat->Category = ToText(index.Get("Category"));
    return threat;
}

void Read(const Recordset& row, QThreatLocationCookie& cookie) {
    cookie.QuarantineFileName = ToText(row.Get("QFileName"));
    cookie.OriginalFilePath = ToText(row.Get("OriginalPath"));
}

void Read(const Recordset& row, QThreatLocationFile& file) {
    file.QuarantineFileName = ToText(row.Get("QFileName"));
    file.OriginalFilePath = ToText(row.Get("OriginalFilePath"));
    file.ActionRegisterFile = ToBoolean(row.Get("ActionRegisterFile"));
    file.ThreatFileType = static_cast<enThreatFileTypes>(ToLong(row.Get("ThreatTypeFile")));
    file.RestoreOrder = ToLong(row.Get("RestoreOrder"));
}

void Read(const Recordset& row, QThreatLocationFolder& folder) {
    folder.OriginalFolderPath = ToText(row.Get("OriginalFolderPath"));
}

void Read(const Recordset& row, QThreatLocationRegKey& entry) {
    entry.RegHive = ToLong(row.Get("RegHive"));
    entry.Regkey = ToText(row.Get("RegKey"));
    entry.RegValueName = ToText(row.Get("RegValueName"));
    entry.RegValueData = ToText(row.Get("RegValueData"));
    entry.RegValueDataType = ToLong(row.Get("RegValueDataType"));
}

template <class Location>
QuarantineThreat::Locations<Location> ReadLocations(const quarantine::Table& table, const std::string& filter) {
    auto locations = std::make_shared<Collection<std::shared_ptr<Location>>>();
    Recordset& rows = Opened(table);
    rows.SetFilter(filter);
    for (; !rows.Eof(); rows.MoveNext()) {
        const auto location = std::make_shared<Location>();
        Read(rows, *location);
        locations->Add(location);
    }
    rows.SetFilter({});
    return locations;
}

// The index from its first row on, without a filter.
template <class Visit>
void ForEachRow(Visit&& visit) {
    Recordset& index = Opened(quarantine::Threats);
    index.SetFilter({});
    if (index.Eof()) {
        return;
    }
    for (index.MoveFirst(); !index.Eof(); index.MoveNext()) {
        visit(index);
    }
}

void AddTo(std::shared_ptr<Quarantine::QuarantineThreats>& found, const std::shared_ptr<QuarantineThreat>& threat) {
    if (!found) {
        found = std::make_shared<Quarantine::QuarantineThreats>();
    }
    found->Add(threat);
}

bool IsDateText(const std::string& text) {
    return platform::Current().clock->ParseDate(text).Ok();
}

// The store that Add and Delete were made for is gone: nothing creates its master dictionary.
[[noreturn]] void LookUpEarlierStore(SourceLocation where = SourceLocation::current()) {
    Raise(ErrObjectNotSet, {}, where);
}

void ReportThreatNotFound(std::int32_t ThreatID) {
    constexpr const char* procedure = "GetQuarantineThreatIDFromThreatID";
    ReportError("ln ThreatID " + Text(ThreatID) + " not found", "0", Module, procedure);
    ForEachRow([&](const Recordset& index) {
        ReportError("Found ID: " + ToText(index.Get("ThreatID")), "0", Module, procedure);
    });
}

}  // namespace

enQuarantineErrors Quarantine::Add(const std::shared_ptr<QuarantineThreat>& oQuarantineThreat) {
    Trap(Module, "Add", [&] {
        const std::int32_t threatID = Required(oQuarantineThreat).ThreatID;
        if (threatID != 0 && QuarantineThreatExists(threatID)) {
            // Asked under a number that is no identifier, so nothing is found.
            (void)GetQuarantineThreat(Text(threatID));
        }
        LookUpEarlierStore();
    });
    return enQuarantineErrors::errNone;
}

enQuarantineErrors Quarantine::Delete(std::string_view /*QuarantineThreatID*/) {
    Trap(Module, "Delete", [] { LookUpEarlierStore(); });
    return enQuarantineErrors::errNone;
}

std::shared_ptr<QuarantineThreat> Quarantine::GetQuarantineThreat(std::string_view QuarantineThreatID) {
    std::shared_ptr<QuarantineThreat> result;
    Trap(Module, "GetQuarantineThreat", [&] {
        const std::string filter = OfThreat(QuarantineThreatID);
        Recordset& index = Opened(quarantine::Threats);
        index.SetFilter(filter);
        if (index.Eof()) {
            index.SetFilter({});
            return;
        }
        const auto threat = ReadThreat(index);
        index.SetFilter({});
        threat->QThreatLocationCookies = ReadLocations<QThreatLocationCookie>(quarantine::Cookies, filter);
        threat->QThreatLocationFiles = ReadLocations<QThreatLocationFile>(quarantine::Files, filter);
        threat->QThreatLocationFolders = ReadLocations<QThreatLocationFolder>(quarantine::Folders, filter);
        threat->QThreatLocationRegKeys = ReadLocations<QThreatLocationRegKey>(quarantine::RegKeys, filter);
        // Their table is not read.
        threat->QThreatLocationSpecials = std::make_shared<Collection<std::shared_ptr<QThreatLocationSpecial>>>();
        result = threat;
    });
    return result;
}

std::shared_ptr<QuarantineThreat> Quarantine::GetQuarantineThreatByThreatID(std::int32_t ThreatID) {
    std::shared_ptr<QuarantineThreat> result;
    Trap(Module, "GetQuarantineThreatByThreatID",
         [&] { result = GetQuarantineThreat(GetQuarantineThreatIDFromThreatID(ThreatID)); });
    return result;
}

std::shared_ptr<Quarantine::QuarantineThreats> Quarantine::GetQuarantineThreats() {
    std::shared_ptr<QuarantineThreats> result;
    Trap(Module, "GetQuarantineThreats", [&] {
        const auto threats = std::make_shared<QuarantineThreats>();
        ForEachRow([&](const Recordset& index) { threats->Add(ReadThreat(index)); });
        result = threats;
    });
    return result;
}

std::shared_ptr<Quarantine::QuarantineThreats> Quarantine::GetQuarantineThreatsByScanID(std::string_view ScanID) {
    std::shared_ptr<QuarantineThreats> result;
    Trap(Module, "GetQuarantineThreatsByScanID", [&] {
        const std::string wanted = LCase(ScanID);
        const auto threats = GetQuarantineThreats();
        for (const auto& threat : Required(threats)) {
            if (LCase(threat->ScanID) == wanted) {
                AddTo(result, threat);
            }
        }
    });
    return result;
}

std::shared_ptr<Quarantine::QuarantineThreats> Quarantine::GetQuarantineThreatsByCategory(
    std::string_view /*Category*/) {
    return nullptr;
}

std::shared_ptr<Quarantine::QuarantineThreats> Quarantine::GetQuarantineThreatsByDate(std::int16_t intYear,
                                                                                      std::int16_t intMonth,
                                                                                      std::int16_t intDay) {
    std::shared_ptr<QuarantineThreats> result;
    Trap(Module, "GetQuarantineThreatsByDate", [&] {
        const auto threats = GetQuarantineThreats();
        for (const auto& threat : Required(threats)) {
            if (!IsDateText(threat->QuarantineDate)) {
                continue;
            }
            for (const std::int16_t part : {intYear, intMonth, intDay}) {
                if (part != 0) {
                    // The interval names in use ("yy", "mm", "dd") are none that a part of a date can be asked by.
                    Raise(ErrInvalidProcedureCall);
                }
            }
            AddTo(result, threat);
        }
    });
    return result;
}

bool Quarantine::QuarantineThreatIDExists(std::string_view QuarantineThreatID) {
    bool result = false;
    Trap(Module, "QuarantineThreatIDExists", [&] { result = HasRow(OfThreat(QuarantineThreatID)); });
    return result;
}

bool Quarantine::QuarantineThreatExists(std::int32_t ThreatID) {
    bool result = false;
    Trap(Module, "QuarantineThreatExists", [&] { result = HasRow(OfThreatID(ThreatID)); });
    return result;
}

std::string Quarantine::GetQuarantineThreatIDFromThreatID(std::int32_t ThreatID) {
    std::string result;
    Trap(Module, "GetQuarantineThreatIDFromThreatID", [&] {
        Recordset& index = Opened(quarantine::Threats);
        index.SetFilter(OfThreatID(ThreatID));
        if (index.Eof()) {
            ReportThreatNotFound(ThreatID);
        } else {
            result = ToText(index.Get("QThreatID"));
        }
        index.SetFilter({});
    });
    return result;
}

std::int32_t Quarantine::Count() {
    std::int32_t result = 0;
    Trap(Module, "Count", [&] {
        Recordset& index = Opened(quarantine::Threats);
        index.SetFilter({});
        if (!index.Eof()) {
            index.MoveLast();
            result = index.RecordCount();
        }
    });
    return result;
}

std::string Quarantine::GetQuarantineXML() {
    // The index's columns as attributes; the first has a name of its own.
    struct Attribute {
        std::string_view start;
        std::string_view column;
    };
    constexpr Attribute attributes[] = {
        {"<Quarantine QID=\"", "QThreatID"},      {" ThreatID=\"", "ThreatID"},
        {" ThreatName=\"", "ThreatName"},         {" ScanID=\"", "ScanID"},
        {" QuarantineDate=\"", "QuarantineDate"},
    };
    std::string result;
    Trap(Module, "GetQuarantineXML", [&] {
        std::string text = "<QResultsXML>\r\n<Quarantined>\r\n";
        ForEachRow([&](const Recordset& index) {
            for (const Attribute& attribute : attributes) {
                text.append(attribute.start).append(ToText(index.Get(attribute.column))).append("\"");
            }
            text += "> </Quarantine>\r\n";
        });
        result = text + "</Quarantined>\r\n</QResultsXML>";
    });
    return result;
}

}  // namespace kel
