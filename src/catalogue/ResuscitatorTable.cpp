#include "catalogue/ResuscitatorTable.h"

#include <string>

#include "catalogue/ShippedTables.h"
#include "core/Paths.h"
#include "core/Recordset.h"
#include "core/Text.h"
#include "core/Value.h"

namespace kel {

namespace {

constexpr std::size_t HashLength = 32;

std::string TextOrEmpty(const Value& value) {
    return IsNull(value) ? std::string() : ToText(value);
}

std::shared_ptr<clsResuscitator> ReadResuscitator(const Recordset& row, ShortHash shortHash) {
    auto read = std::make_shared<clsResuscitator>();
    read->ResExeName = Trim(TextOrEmpty(row.Get(1)));
    read->ResDeleteFile = ToBoolean(row.Get(3));
    read->ResDeleteRegKey = ToBoolean(row.Get(4));
    read->ResExeMD5 = Left(TextOrEmpty(row.Get(2)), HashLength);
    if (shortHash == ShortHash::IsNone && read->ResExeMD5.size() < HashLength) {
        read->ResExeMD5.clear();
    }
    read->ResInternalName = Trim(TextOrEmpty(row.Get(5)));
    return read;
}

}  // namespace

void ReadResuscitators(ShortHash shortHash, Collection<std::shared_ptr<clsResuscitator>>& into) {
    const std::string path = shipped::Path(shipped::Resuscitators);
    if (!paths::FileExists(path)) {
        return;
    }
    Recordset rows;
    for (rows.Open(path); !rows.Eof(); rows.MoveNext()) {
        into.Add(ReadResuscitator(rows, shortHash));
    }
}

}  // namespace kel
