// A run of kelsdb in process, on a folder of its own.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "core/Recordset.h"
#include "core/Value.h"

namespace kel::kelsdb::test {

struct Outcome {
    int code = 0;
    std::string out;
    std::string err;
};

class KelsdbTest : public ::testing::Test {
protected:
    KelsdbTest();
    ~KelsdbTest() override;

    static Outcome Kelsdb(const std::vector<std::string>& arguments, const std::string& input = {});

    /// A path in the folder.
    [[nodiscard]] std::string Path(std::string_view name) const { return (folder_ / name).string(); }
    [[nodiscard]] std::string Folder() const { return folder_.string(); }
    /// Writes a file as it stands and gives its path.
    std::string Write(std::string_view name, std::string_view bytes) const;
    [[nodiscard]] std::string Read(std::string_view name) const;
    [[nodiscard]] bool Exists(std::string_view name) const { return std::filesystem::exists(folder_ / name); }
    /// A path in the folder of sample tables.
    [[nodiscard]] static std::string Sample(std::string_view name) {
        return (std::filesystem::path(KEL_SAMPLES) / name).string();
    }
    /// Names in the folder, in order.
    [[nodiscard]] std::vector<std::string> Names() const;

    /// `kelsdb create` from a text.
    Outcome Create(const std::string& table, const std::string& name, const std::string& csv) const;
    /// A table file with any columns and values.
    void Save(std::string_view name, const std::vector<FieldDefinition>& fields,
              const std::vector<std::vector<Value>>& rows) const;

private:
    std::filesystem::path folder_;
};

}  // namespace kel::kelsdb::test
