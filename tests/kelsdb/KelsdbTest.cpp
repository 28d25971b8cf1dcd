#include "KelsdbTest.h"

#include <algorithm>
#include <fstream>
#include <random>
#include <sstream>

#include "hostplatform/HostPlatform.h"
#include "kelsdb/CommandLine.h"

namespace kel::kelsdb::test {

namespace fs = std::filesystem;

KelsdbTest::KelsdbTest() {
    std::random_device random;
    do {
        folder_ = fs::temp_directory_path() / ("kelsdb-test-" + std::to_string(random()));
    } while (!fs::create_directory(folder_));
}

KelsdbTest::~KelsdbTest() {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
}

Outcome KelsdbTest::Kelsdb(const std::vector<std::string>& arguments, const std::string& input) {
    std::istringstream in(input);
    std::ostringstream out;
    std::ostringstream err;
    const int code = kelsdb::Run(arguments, {in, out, err});
    return {code, out.str(), err.str()};
}

std::string KelsdbTest::Write(std::string_view name, std::string_view bytes) const {
    std::ofstream file(folder_ / name, std::ios::binary);
    file << bytes;
    return Path(name);
}

std::string KelsdbTest::Read(std::string_view name) const {
    std::ifstream file(folder_ / name, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

std::vector<std::string> KelsdbTest::Names() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

Outcome KelsdbTest::Create(const std::string& table, const std::string& name, const std::string& csv) const {
    return Kelsdb({"create", "--table", table, "-o", Path(name)}, csv);
}

void KelsdbTest::Save(std::string_view name, const std::vector<FieldDefinition>& fields,
                      const std::vector<std::vector<Value>>& rows) const {
    tools::HostPlatform host;
    const platform::PlatformScope installed(host.View());
    Recordset table;
    for (const FieldDefinition& field : fields) {
        table.AppendField(field.name, field.type, field.size);
    }
    table.Open();
    for (const auto& row : rows) {
        table.AddNew();
        for (std::size_t i = 0; i < row.size(); ++i) {
            table.Set(i, row[i]);
        }
        table.Update();
    }
    fs::remove(folder_ / name);
    table.Save(host.EnginePath(folder_ / name));
}

}  // namespace kel::kelsdb::test
