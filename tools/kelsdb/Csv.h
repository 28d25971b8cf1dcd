// Comma-separated values, as RFC 4180 has them.
#pragma once

#include <cstddef>
#include <istream>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace kel::kelsdb {

struct CsvField {
    std::string text;
    bool quoted = false;
};

/// Reads records. Lines end with CR LF or LF, also inside quotes, where they belong to the field; a byte order mark at
/// the start and lines without any character are skipped.
class CsvReader {
public:
    explicit CsvReader(std::istream& from) : from_(from) {}

    /// The next record; false at the end. For a record that breaks the rules, Error() says how, and reading goes on
    /// with the next line.
    bool Next(std::vector<CsvField>& fields);

    /// Line on which the record begins, from 1.
    [[nodiscard]] std::size_t Line() const { return line_; }
    [[nodiscard]] const std::string& Error() const { return error_; }

private:
    bool ReadLine(std::string& line);
    bool ReadQuoted(std::string& line, std::size_t& at, std::string& text);

    std::istream& from_;
    std::size_t linesRead_ = 0;
    std::size_t line_ = 0;
    std::string error_;
};

/// One field, quoted where it must be; a text is also quoted when it is empty or has blanks at its ends.
void WriteCsvText(std::ostream& to, std::string_view text);

}  // namespace kel::kelsdb
