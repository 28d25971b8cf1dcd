// The losses that docs/durability.md names.
#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kel::test {

class LossTable {
public:
    /// Reads the rows of the table `| Cut in | When | Lost | ...`. Fails the test when there is none.
    LossTable();

    /// Whether a row names the loss; it counts as met then.
    bool Names(std::string_view operation, std::string_view when, std::string_view item);
    /// Whether the row that names the loss says that the bytes are left in the quarantine's folder.
    [[nodiscard]] bool BytesAreLeft(std::string_view operation, std::string_view when, std::string_view item) const;
    /// What the rows of an operation name and was never asked for.
    [[nodiscard]] std::vector<std::string> NotMet(std::string_view operation) const;

private:
    struct Row {
        std::string operation, when;
        std::set<std::string, std::less<>> items;
        std::set<std::string, std::less<>> met;
        bool bytesAreLeft = false;
    };
    std::vector<Row> rows_;
};

}  // namespace kel::test
