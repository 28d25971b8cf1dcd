#include "hivedump/Dump.h"

#include <string>
#include <vector>

#include "hivedump/Names.h"

namespace kel::hivedump {
namespace {

constexpr std::size_t FlushAt = std::size_t{1} << 16;
constexpr std::uint32_t TypeText = 1;
constexpr std::uint32_t TypeExpandable = 2;
constexpr std::uint32_t TypeLink = 6;
constexpr std::uint32_t TypeList = 7;

bool IsText(std::uint32_t type) {
    return type == TypeText || type == TypeExpandable || type == TypeLink || type == TypeList;
}

std::u16string TextOf(const std::vector<std::byte>& data) {
    std::u16string text;
    for (std::size_t i = 0; i + 1 < data.size(); i += 2)
        text += static_cast<char16_t>(static_cast<unsigned>(data[i]) | static_cast<unsigned>(data[i + 1]) << 8);
    while (!text.empty() && text.back() == u'\0')
        text.pop_back();
    return text;
}

class Dumper {
public:
    Dumper(const offline::Hive& hive, Format format, std::ostream& out)
        : reader_(hive.Reader()), hive_(hive), format_(format), out_(out) {}

    Counts Run() {
        reader_.Cells().LoadAll();
        std::vector<std::uint32_t> values;
        reader_.ForEachKey([&](std::uint32_t key, std::uint32_t depth) {
            if (depth > DeepestLevel) {
                ++counts_.tooDeep;
                return;
            }
            Enter(key, depth);
            reader_.Values(key, values);
            for (const std::uint32_t value : values)
                Value(value);
        });
        End();
        return counts_;
    }

private:
    void Enter(std::uint32_t key, std::uint32_t depth) {
        // The path is kept as it is written: the names above stay, what was deeper goes.
        if (depth == 0) {
            ends_ = {path_.size()};
        } else {
            ends_.resize(depth);
            path_.resize(ends_.back());
            if (format_ == Format::Text) {
                std::string name;
                AppendQuoted(name, reader_.KeyName(key).Text());
                path_ += '\\';
                path_.append(name, 1, name.size() - 2);
            } else {
                path_ += path_.empty() ? "" : ",";
                AppendQuoted(path_, reader_.KeyName(key).Text());
            }
            ends_.push_back(path_.size());
        }
        ++counts_.keys;
        const std::u16string className = reader_.ClassName(key);
        const std::uint64_t written = reader_.LastWritten(key);
        if (format_ == Format::Text) {
            line_ += '[';
            line_ += path_.empty() ? "\\" : path_;
            line_ += "] ";
            AppendTime(line_, written);
            if (!className.empty()) {
                line_ += " class ";
                AppendQuoted(line_, className);
            }
        } else {
            line_ += R"({"type":"key","path":[)" + path_ + R"(],"written":")";
            AppendTime(line_, written);
            line_ += R"(","filetime":)" + std::to_string(written);
            if (!className.empty()) {
                line_ += R"(,"class":)";
                AppendQuoted(line_, className);
            }
            line_ += '}';
        }
        EndLine();
    }

    void Value(std::uint32_t value) {
        ++counts_.values;
        const bool whole = reader_.Data(value, data_);
        const std::uint32_t type = reader_.ValueType(value);
        const std::u16string name = reader_.ValueName(value).Text();
        if (format_ == Format::Text) {
            line_ += "  ";
            AppendQuoted(line_, name);
            line_ += ' ';
            line_ += TypeName(type).empty() ? std::string_view("type") : TypeName(type);
            line_ += '(' + std::to_string(type) + ") ";
            AppendHex(line_, data_);
            if (IsText(type)) {
                line_ += data_.empty() ? "" : " ";
                AppendQuoted(line_, TextOf(data_));
            }
            line_ += whole ? "" : " (not whole)";
        } else {
            line_ += R"({"type":"value","path":[)" + path_ + R"(],"name":)";
            AppendQuoted(line_, name);
            line_ += R"(,"valueType":)" + std::to_string(type) + R"(,"data":")";
            AppendHex(line_, data_);
            line_ += whole ? R"("})" : R"(","whole":false})";
        }
        EndLine();
    }

    void End() {
        if (format_ == Format::Text) {
            line_ += "keys " + std::to_string(counts_.keys) + " values " + std::to_string(counts_.values);
        } else {
            for (const offline::Damage& damage : hive_.Damage().Items()) {
                line_ += R"({"type":"damage","offset":)" + std::to_string(damage.fileOffset) + R"(,"reason":")" +
                         damage.reason + "\"}";
                EndLine();
            }
            line_ += R"({"type":"summary","keys":)" + std::to_string(counts_.keys) + R"(,"values":)" +
                     std::to_string(counts_.values) + R"(,"damaged":)" + std::to_string(hive_.Damage().Count()) +
                     R"(,"dirty":)" + (hive_.Replay().dirty ? "true" : "false") + R"(,"replayed":)" +
                     (hive_.Replay().replayed ? "true" : "false") + R"(,"tooDeep":)" + std::to_string(counts_.tooDeep) +
                     R"(,"version":"1.)" + std::to_string(hive_.Minor()) + "\"}";
        }
        EndLine();
        out_ << line_;
    }

    void EndLine() {
        line_ += '\n';
        if (line_.size() >= FlushAt) {
            out_ << line_;
            line_.clear();
        }
    }

    const offline::regf::HiveReader& reader_;
    const offline::Hive& hive_;
    Format format_;
    std::ostream& out_;
    std::string line_;  // what is not written yet
    std::string path_;  // of the key at hand, in the form of the output
    std::vector<std::size_t> ends_;
    std::vector<std::byte> data_;
    Counts counts_;
};

}  // namespace

Counts Dump(const offline::Hive& hive, Format format, std::ostream& out) {
    return Dumper(hive, format, out).Run();
}

}  // namespace kel::hivedump
