#include "LossTable.h"

#include <gtest/gtest.h>

#include <fstream>

namespace kel::test {

namespace {

constexpr std::string_view File = KEL_SOURCE_DIR "/docs/durability.md";
constexpr std::string_view Head = "| Cut in | When | Lost |";

std::vector<std::string> Cells(const std::string& line) {
    std::vector<std::string> cells;
    for (std::size_t at = 1; at < line.size();) {
        const std::size_t end = std::min(line.find('|', at), line.size());
        const std::string cell = line.substr(at, end - at);
        const std::size_t first = cell.find_first_not_of(' ');
        cells.push_back(first == std::string::npos ? "" : cell.substr(first, cell.find_last_not_of(' ') + 1 - first));
        at = end + 1;
    }
    return cells;
}

}  // namespace

LossTable::LossTable() {
    std::ifstream file{std::string(File)};
    bool inside = false;
    for (std::string line; std::getline(file, line);) {
        if (!inside || !line.starts_with('|')) {
            inside = line.starts_with(Head);
            continue;
        }
        const std::vector<std::string> cells = Cells(line);
        if (cells.size() < 5 || cells[0].starts_with('-')) {
            continue;
        }
        Row row{.operation = cells[0], .when = cells[1], .items = {}, .met = {}};
        row.bytesAreLeft = cells[3].find("the bytes in the quarantine's folder") != std::string::npos;
        for (std::size_t open = cells[2].find('`'); open != std::string::npos;) {
            const std::size_t close = cells[2].find('`', open + 1);
            row.items.insert(cells[2].substr(open + 1, close - open - 1));
            open = cells[2].find('`', close + 1);
        }
        rows_.push_back(row);
    }
    EXPECT_FALSE(rows_.empty()) << File;
}

bool LossTable::Names(std::string_view operation, std::string_view when, std::string_view item) {
    for (Row& row : rows_) {
        if (row.operation == operation && row.when == when && row.items.contains(item)) {
            row.met.emplace(item);
            return true;
        }
    }
    return false;
}

bool LossTable::BytesAreLeft(std::string_view operation, std::string_view when, std::string_view item) const {
    for (const Row& row : rows_) {
        if (row.operation == operation && row.when == when && row.items.contains(item)) {
            return row.bytesAreLeft;
        }
    }
    return false;
}

std::vector<std::string> LossTable::NotMet(std::string_view operation) const {
    std::vector<std::string> left;
    for (const Row& row : rows_) {
        for (const std::string& item : row.items) {
            if (row.operation == operation && !row.met.contains(item)) {
                left.push_back(row.when + ": " + item);
            }
        }
    }
    return left;
}

}  // namespace kel::test
