// The two tables that may be missing: extensions and resuscitators.
#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

#include "catalogue/DigestIndex.h"
#include "core/Text.h"
#include "kelsdb/CheckReport.h"

namespace kel::kelsdb {

namespace {

constexpr std::size_t ResExeName = 1;
constexpr std::size_t ResExeMD5 = 2;
constexpr std::size_t ResDeleteFile = 3;
constexpr std::size_t ResDeleteRegKey = 4;
constexpr std::size_t ResInternalName = 5;
constexpr std::size_t ResColumns = 6;

constexpr std::size_t MD5Length = 32;

bool HasCapitals(std::string_view text) {
    return std::any_of(text.begin(), text.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
}

void CheckResuscitator(CheckedTable& table) {
    table.RequireBoolean(ResDeleteFile);
    table.RequireBoolean(ResDeleteRegKey);
    const std::string name(Trim(table.TextOrEmptyAt(ResExeName)));
    const std::string md5 = table.TextOrEmptyAt(ResExeMD5);
    const std::string internal(Trim(table.TextOrEmptyAt(ResInternalName)));
    if (name.empty() && md5.empty() && internal.empty()) {
        table.Error("has no name, no MD5 and no internal name: it matches no program");
    }
    if (!md5.empty() && !ParseDigest(Left(md5, MD5Length))) {
        table.Error("ResExeMD5 \"" + md5 + "\" does not begin with an MD5 of 32 hexadecimal digits: no program has it");
    } else if (HasCapitals(Left(md5, MD5Length))) {
        table.Error("ResExeMD5 \"" + md5 + "\" has capital letters: hashes of running programs have none");
    } else if (md5.size() > MD5Length) {
        table.Warning("ResExeMD5 is cut to its first 32 characters");
    }
    // Names are compared in lower case; of the three texts the first that is there is looked at.
    if (name.empty() && md5.empty() && HasCapitals(internal)) {
        table.Error("ResInternalName \"" + internal + "\" has capital letters: it matches no program");
    }
}

}  // namespace

void CheckExtensions(CheckedTable table, const KnownThreats& /*threats*/) {
    if (!table.HasColumns(1)) {
        return;
    }
    table.ForEachRow([&] {
        const auto extension = table.TextAt(0);
        if (!extension) {
            return;
        }
        if (!extension->starts_with('.')) {
            table.Error("extension \"" + *extension + "\" does not begin with a dot: the pattern \"*" + *extension +
                        "\" takes other names in");
        } else if (extension->find_first_of(";\\/ ") != std::string::npos) {
            table.Error("extension \"" + *extension + "\" has a character that breaks the list of patterns");
        }
    });
}

void CheckResuscitators(CheckedTable table, const KnownThreats& /*threats*/) {
    if (table.HasColumns(ResColumns)) {
        table.ForEachRow([&] { CheckResuscitator(table); });
    }
}

}  // namespace kel::kelsdb
