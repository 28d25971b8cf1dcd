// modMain.InitializeScanData.
#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "catalogue/LoadingTables.h"
#include "catalogue/MissingFile.h"
#include "catalogue/ResuscitatorTable.h"
#include "catalogue/ShippedTables.h"
#include "catalogue/SignatureLoader.h"
#include "catalogue/SignatureTable.h"
#include "catalogue/modMain.h"
#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Paths.h"
#include "core/Recordset.h"
#include "core/RuntimeError.h"
#include "core/Text.h"
#include "core/Value.h"

namespace kel::modMain {

namespace {

constexpr std::string_view DefaultExtensions =
    "*.exe;*.dll;*.ocx;*.vxd;*.vbs;*.bat;*.cmd;*.com;*.js;*.msi;*.reg;*.shs;*.sys;*.vbe;*.wsf;*.scr;*.asm;*.zip;*.cab;"
    "*.rar;*.mdb;*.jpg;*.ini;*.pif";

// Opens a table if it is there; one that is not stays closed, and fails whoever walks it.
void OpenOrReport(Recordset& rows, std::string_view file) {
    const std::string path = shipped::Path(file);
    if (paths::FileExists(path)) {
        rows.Open(path);
    } else {
        ReportMissingFile("Scan Data", path);
    }
}

std::string ReadExtensionFilter() {
    const std::string path = shipped::Path(shipped::Extensions);
    if (!paths::FileExists(path)) {
        return std::string(DefaultExtensions);
    }
    std::string filter;
    Recordset rows;
    for (rows.Open(path); !rows.Eof(); rows.MoveNext()) {
        filter += "*" + ToText(rows.Get(0)) + ";";
    }
    return filter;
}

// A keyed table on its way from its file into the engine state.
struct KeyedTable {
    std::string_view file;
    std::shared_ptr<SignatureTable> EngineState::*table;
    KeyForm form;
    NullKey nullKey;
};

// In the order in which they are loaded.
constexpr std::array KeyedTables{
    KeyedTable{shipped::Cookies, &EngineState::CookieDataTable, KeyForm::Texts, NullKey::Failure},
    KeyedTable{shipped::FileMD5, &EngineState::MD5DataTable, KeyForm::Digests, NullKey::Failure},
    KeyedTable{shipped::FilePaths, &EngineState::FilePathDataTable, KeyForm::Texts, NullKey::Empty},
    KeyedTable{shipped::Folders, &EngineState::FolderDataTable, KeyForm::Texts, NullKey::Empty},
};

}  // namespace

bool InitializeScanData() {
    EngineState& state = State();
    const LoadingTable cookies(ModuleData<LoadingTables>().Cookies);
    Trap("Scanner", "InitializeScanData", [&] {
        std::array<Recordset, KeyedTables.size() - 1> others;
        const auto rowsOf = [&](std::size_t i) -> Recordset& { return i == 0 ? *cookies : others[i - 1]; };

        for (const KeyedTable& keyed : KeyedTables) {
            state.*keyed.table = std::make_shared<SignatureTable>(keyed.form);
        }
        state.RegKeyRecordset = std::make_shared<Recordset>();
        state.Resuscitators = std::make_shared<Collection<std::shared_ptr<clsResuscitator>>>();

        for (std::size_t i = 0; i < KeyedTables.size(); ++i) {
            OpenOrReport(rowsOf(i), KeyedTables[i].file);
        }
        OpenOrReport(*state.RegKeyRecordset, shipped::RegKeys);
        state.FileExtensionFilter.clear();
        state.FileExtensionFilter = ReadExtensionFilter();

        for (std::size_t i = 0; i < KeyedTables.size(); ++i) {
            LoadSignatures(rowsOf(i), *(state.*KeyedTables[i].table), KeyedTables[i].nullKey);
        }
        for (std::size_t i = 0; i < KeyedTables.size(); ++i) {
            rowsOf(i).Close();
        }
        ReadResuscitators(ShortHash::Stands, *state.Resuscitators);
    });
    return true;
}

}  // namespace kel::modMain
