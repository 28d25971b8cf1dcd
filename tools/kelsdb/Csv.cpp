#include "kelsdb/Csv.h"

#include <algorithm>

namespace kel::kelsdb {

namespace {

constexpr std::string_view ByteOrderMark = "\xEF\xBB\xBF";

}  // namespace

// One line with its line end.
bool CsvReader::ReadLine(std::string& line) {
    if (!std::getline(from_, line)) {
        return false;
    }
    if (!from_.eof()) {
        line += '\n';
    }
    if (linesRead_++ == 0 && line.starts_with(ByteOrderMark)) {
        line.erase(0, ByteOrderMark.size());
    }
    return true;
}

// The field whose opening quote is at `at`; reads on when it has line ends. False when it has no closing quote.
bool CsvReader::ReadQuoted(std::string& line, std::size_t& at, std::string& text) {
    ++at;
    for (;;) {
        const std::size_t quote = line.find('"', at);
        text.append(line, at, quote == std::string::npos ? quote : quote - at);
        if (quote == std::string::npos) {
            at = 0;
            if (!ReadLine(line)) {
                return false;
            }
        } else if (quote + 1 < line.size() && line[quote + 1] == '"') {
            text += '"';
            at = quote + 2;
        } else {
            at = quote + 1;
            return true;
        }
    }
}

bool CsvReader::Next(std::vector<CsvField>& fields) {
    fields.clear();
    error_.clear();
    std::string line;
    do {
        if (!ReadLine(line)) {
            return false;
        }
    } while (line == "\n" || line == "\r\n" || line.empty());
    line_ = linesRead_;

    std::size_t at = 0;
    for (;;) {
        CsvField& field = fields.emplace_back();
        if (at < line.size() && line[at] == '"') {
            field.quoted = true;
            if (!ReadQuoted(line, at, field.text)) {
                error_ = "a quoted field has no closing quote";
                return true;
            }
        } else {
            const std::size_t end = std::min(line.find_first_of(",\"\n", at), line.size());
            field.text.assign(line, at, end - at);
            at = end;
            if ((at == line.size() || line[at] == '\n') && field.text.ends_with('\r')) {
                field.text.pop_back();
            }
            if (at < line.size() && line[at] == '"') {
                error_ = "a quote inside a field that does not begin with one";
                return true;
            }
        }
        const std::string_view rest = std::string_view(line).substr(at);
        if (rest.empty() || rest == "\n" || rest == "\r\n") {
            return true;
        }
        if (rest.front() != ',') {
            error_ = "text behind the closing quote of a field";
            return true;
        }
        ++at;
    }
}

void WriteCsvText(std::ostream& to, std::string_view text) {
    const bool plain = !text.empty() && text.find_first_of(",\"\r\n") == std::string_view::npos &&
                       text.front() != ' ' && text.back() != ' ';
    if (plain) {
        to << text;
        return;
    }
    to << '"';
    for (const char c : text) {
        if (c == '"') {
            to << '"';
        }
        to << c;
    }
    to << '"';
}

}  // namespace kel::kelsdb
