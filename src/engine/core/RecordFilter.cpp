#include "core/RecordFilter.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <utility>

#include "core/RuntimeError.h"
#include "core/Text.h"

namespace kel {

namespace {

constexpr std::uint64_t HashStart = 0xcbf29ce484222325U;
constexpr std::uint64_t HashFactor = 0x100000001b3U;

unsigned char FoldAscii(char c) {
    return static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
}

bool IsAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// Order of two texts by their bytes in lower case, where `right` is so already. Case folds character by character: up
// to the first byte beyond ASCII nothing that follows matters, and the platform need not be asked.
int CompareFolded(std::string_view left, std::string_view right) {
    const std::size_t common = std::min(left.size(), right.size());
    for (std::size_t i = 0; i < common; ++i) {
        const unsigned char a = FoldAscii(left[i]);
        const auto b = static_cast<unsigned char>(right[i]);
        if (a >= 0x80) {
            return LCase(left).compare(right);
        }
        if (a != b) {
            return a < b ? -1 : 1;
        }
    }
    return left.size() == right.size() ? 0 : (left.size() < right.size() ? -1 : 1);
}

// Continues a hash with a text, as if it were in lower case, and its end.
std::uint64_t HashText(std::uint64_t hash, std::string_view text) {
    if (!IsAscii(text)) {
        for (const char c : LCase(text)) {
            hash = (hash ^ static_cast<unsigned char>(c)) * HashFactor;
        }
    } else {
        for (const char c : text) {
            hash = (hash ^ FoldAscii(c)) * HashFactor;
        }
    }
    return (hash ^ 0x1FFU) * HashFactor;
}

// The same for a number.
std::uint64_t HashNumber(std::uint64_t hash, double number) {
    // Nought has two forms that are equal.
    const auto bits = std::bit_cast<std::uint64_t>(number == 0 ? 0.0 : number);
    return (((hash ^ bits) * HashFactor) ^ (bits >> 32U)) * HashFactor;
}

std::uint32_t ShortHash(std::uint64_t hash) {
    return static_cast<std::uint32_t>(hash ^ (hash >> 32U));
}

}  // namespace

// Reads the text form from left to right.
class FilterReader {
public:
    FilterReader(std::string_view text, const RecordColumns& columns) : text_(text), rest_(text), columns_(columns) {}

    std::vector<RecordFilter::Term> Read() {
        std::vector<RecordFilter::Term> terms;
        SkipBlanks();
        while (!rest_.empty()) {
            terms.push_back(Comparison());
            const bool blank = SkipBlanks();
            if (rest_.empty()) {
                break;
            }
            if (!blank || rest_.size() < 4 || !EqualText(rest_.substr(0, 3), "and") || rest_[3] != ' ') {
                Fail();
            }
            rest_.remove_prefix(4);
            SkipBlanks();
            if (rest_.empty()) {
                Fail();
            }
        }
        return terms;
    }

private:
    using Operator = RecordFilter::Operator;

    [[noreturn]] void Fail() const { Raise(ErrInvalidArgument, text_); }

    bool SkipBlanks() {
        const std::size_t count = std::min(rest_.find_first_not_of(' '), rest_.size());
        rest_.remove_prefix(count);
        return count != 0;
    }

    RecordFilter::Term Comparison() {
        RecordFilter::Term term;
        term.column = Column();
        SkipBlanks();
        term.op = ReadOperator();
        SkipBlanks();
        const FieldDefinition& field = columns_[term.column]->Definition();
        term.isText = field.type == FieldType::VarChar;
        if (!rest_.empty() && rest_.front() == '\'') {
            const std::string text = Quoted();
            if (term.isText) {
                term.folded = LCase(text);
            } else {
                term.number = NumberFor(field.type, text);
            }
        } else if (term.isText) {
            Fail();
        } else {
            term.number = Number();
        }
        return term;
    }

    std::size_t Column() {
        std::string_view name;
        if (rest_.starts_with('[')) {
            const std::size_t end = rest_.find(']');
            if (end == std::string_view::npos) {
                Fail();
            }
            name = rest_.substr(1, end - 1);
            rest_.remove_prefix(end + 1);
        } else {
            name = rest_.substr(0, rest_.find_first_of(" <>='"));
            rest_.remove_prefix(name.size());
        }
        if (name.empty()) {
            Fail();
        }
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            if (EqualText(columns_[i]->Definition().name, name)) {
                return i;
            }
        }
        Raise(ErrNotFound, name);
    }

    Operator ReadOperator() {
        struct Sign {
            std::string_view text;
            Operator op;
        };
        constexpr Sign signs[] = {
            {"<>", Operator::NotEqual}, {"<=", Operator::LessOrEqual}, {">=", Operator::GreaterOrEqual},
            {"=", Operator::Equal},     {"<", Operator::Less},         {">", Operator::Greater},
        };
        for (const Sign& sign : signs) {
            if (rest_.starts_with(sign.text)) {
                rest_.remove_prefix(sign.text.size());
                return sign.op;
            }
        }
        Fail();
    }

    std::string Quoted() {
        std::string text;
        for (std::size_t i = 1; i < rest_.size(); ++i) {
            if (rest_[i] == '\'') {
                if (i + 1 >= rest_.size() || rest_[i + 1] != '\'') {
                    rest_.remove_prefix(i + 1);
                    return text;
                }
                ++i;
            }
            text += rest_[i];
        }
        Fail();
    }

    double Number() {
        const std::string_view digits = rest_.substr(0, rest_.find(' '));
        const bool plus = digits.starts_with('+');
        const char* end = digits.data() + digits.size();
        double number = 0;
        const auto read = std::from_chars(digits.data() + (plus ? 1 : 0), end, number);
        // from_chars would take "inf" and "nan" too.
        if (read.ec != std::errc() || read.ptr != end || digits.find_first_of("0123456789") == std::string_view::npos ||
            digits.find_first_not_of("+-.0123456789eE") != std::string_view::npos) {
            Fail();
        }
        rest_.remove_prefix(digits.size());
        return number;
    }

    [[nodiscard]] double NumberFor(FieldType type, const std::string& text) const {
        try {
            if (type == FieldType::Boolean) {
                return ToBoolean(text) ? -1.0 : 0.0;
            }
            return type == FieldType::Date ? ToDate(text).days : ToDouble(text);
        } catch (const RuntimeError&) {
            Fail();
        }
    }

    std::string_view text_;
    std::string_view rest_;
    const RecordColumns& columns_;
};

RecordFilter::RecordFilter(std::string_view text, const RecordColumns& columns)
    : terms_(FilterReader(text, columns).Read()) {
    CollectEqualColumns();
}

void RecordFilter::CollectEqualColumns() {
    std::vector<const Term*> equal;
    for (const Term& term : terms_) {
        if (term.op == Operator::Equal) {
            equal.push_back(&term);
        }
    }
    // A column that is named twice counts once here; Matches tests both.
    std::stable_sort(equal.begin(), equal.end(), [](auto* a, auto* b) { return a->column < b->column; });
    equal.erase(std::unique(equal.begin(), equal.end(), [](auto* a, auto* b) { return a->column == b->column; }),
                equal.end());
    equalHash_ = HashStart;
    for (const Term* term : equal) {
        equalColumns_.push_back(term->column);
        equalHash_ = term->isText ? HashText(equalHash_, term->folded) : HashNumber(equalHash_, term->number);
    }
}

bool RecordFilter::Holds(Operator op, int order) {
    switch (op) {
        case Operator::Equal:
            return order == 0;
        case Operator::NotEqual:
            return order != 0;
        case Operator::Less:
            return order < 0;
        case Operator::LessOrEqual:
            return order <= 0;
        case Operator::Greater:
            return order > 0;
        case Operator::GreaterOrEqual:
            return order >= 0;
    }
    return false;
}

bool RecordFilter::TermMatches(const Term& term, const RecordColumn& column, std::size_t row) {
    if (column.IsNull(row)) {
        return false;
    }
    if (!term.isText) {
        const double number = column.Real(row);
        return Holds(term.op, number < term.number ? -1 : (number > term.number ? 1 : 0));
    }
    std::string scratch;
    return Holds(term.op, CompareFolded(column.Text(row, scratch), term.folded));
}

bool RecordFilter::Matches(const RecordColumns& columns, std::size_t row) const {
    return std::all_of(terms_.begin(), terms_.end(),
                       [&](const Term& term) { return TermMatches(term, *columns[term.column], row); });
}

EqualIndex::EqualIndex(const RecordColumns& columns, std::vector<std::size_t> which) : which_(std::move(which)) {
    Extend(columns);
}

void EqualIndex::Extend(const RecordColumns& columns) {
    const std::size_t rows = columns.front()->Rows();
    Grow(rows);
    std::string scratch;
    for (std::size_t row = entries_.size(); row < rows; ++row) {
        std::uint64_t hash = HashStart;
        bool null = false;
        for (const std::size_t at : which_) {
            const RecordColumn& column = *columns[at];
            null = null || column.IsNull(row);
            if (null) {
                break;
            }
            hash = column.Definition().type == FieldType::VarChar ? HashText(hash, column.Text(row, scratch))
                                                                  : HashNumber(hash, column.Real(row));
        }
        entries_.push_back({ShortHash(hash), None, !null});
        if (!null) {
            Append(static_cast<RowNumber>(row));
        }
    }
}

void EqualIndex::Append(RowNumber row) {
    Chain& chain = chains_[entries_[row].hash & (chains_.size() - 1)];
    (chain.last == None ? chain.first : entries_[chain.last].next) = row;
    chain.last = row;
}

void EqualIndex::Grow(std::size_t rows) {
    if (!chains_.empty() && rows <= chains_.size()) {
        return;
    }
    chains_.assign(std::bit_ceil(rows), {});
    for (RowNumber row = 0; row < entries_.size(); ++row) {
        entries_[row].next = None;
        if (entries_[row].in) {
            Append(row);
        }
    }
}

std::optional<std::size_t> EqualIndex::Next(std::uint64_t hash, std::size_t from) const {
    const std::uint32_t sought = ShortHash(hash);
    const bool follows =
        from > 0 && from <= entries_.size() && entries_[from - 1].in && entries_[from - 1].hash == sought;
    for (RowNumber row = follows ? entries_[from - 1].next : ChainOf(sought).first; row != None;
         row = entries_[row].next) {
        if (row >= from && entries_[row].hash == sought) {
            return row;
        }
    }
    return std::nullopt;
}

}  // namespace kel
