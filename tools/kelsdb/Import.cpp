#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "catalogue/DigestIndex.h"
#include "core/Text.h"
#include "kelsdb/Commands.h"
#include "kelsdb/Failure.h"
#include "kelsdb/Files.h"
#include "kelsdb/Rejections.h"
#include "kelsdb/TableBuilder.h"

namespace kel::kelsdb {

namespace {

constexpr std::size_t DigestDigits = 32;

struct Line {
    std::string_view digest;
    std::string_view refusal;  ///< not empty: why there is no digest
};

// MD5:size:name, and fields behind that concern a scanner's version. The size is a number of bytes, or `*` for any.
Line ReadHdb(std::string_view line) {
    const std::size_t size = line.find(':');
    const std::size_t name = size == std::string_view::npos ? size : line.find(':', size + 1);
    if (name == std::string_view::npos) {
        return {{}, "is not of the form MD5:size:name"};
    }
    const std::string_view bytes = line.substr(size + 1, name - size - 1);
    if (bytes != "*" && (bytes.empty() || bytes.find_first_not_of("0123456789") != std::string_view::npos)) {
        return {{}, "the size is no number"};
    }
    return {line.substr(0, size), {}};
}

// The digest, then two blanks, or a blank and `*`, and the name; a backslash before it marks an escaped name. A digest
// alone is taken too.
Line ReadHash(std::string_view line) {
    if (line.starts_with('\\')) {
        line.remove_prefix(1);
    }
    const std::size_t end = line.find_first_of(" \t");
    return {line.substr(0, end), {}};
}

std::string RefuseDigest(std::string_view digest) {
    if (digest.size() != DigestDigits && digest.find_first_not_of("0123456789abcdefABCDEF") == std::string_view::npos) {
        return "a hash of " + Text(static_cast<std::int64_t>(digest.size())) + " digits is no MD5";
    }
    return "does not begin with an MD5 of 32 hexadecimal digits";
}

// A hash that is there twice is no error: lists of files have the same file in two places. It is told and left out.
void ReadList(ImportForm form, const CsvField& threat, Input& input, TableBuilder& builder, Rejections& rejections,
              std::ostream& notes) {
    std::string text;
    for (std::size_t number = 1; std::getline(input.Stream(), text); ++number) {
        if (text.ends_with('\r')) {
            text.pop_back();
        }
        if (text.empty() || text.starts_with('#')) {
            continue;
        }
        const Line line = form == ImportForm::Hdb ? ReadHdb(text) : ReadHash(text);
        if (!line.refusal.empty()) {
            rejections.Add(number, line.refusal);
        } else if (!ParseDigest(line.digest)) {
            rejections.Add(number, RefuseDigest(line.digest));
        } else if (builder.Has(line.digest)) {
            notes << input.Name() << ':' << number << ": left out, the hash is there already\n";
        } else if (const auto reason = builder.Add({threat, {std::string(line.digest)}, {"0"}}, number);
                   !reason.empty()) {
            rejections.Add(number, reason);
        }
    }
    input.RequireWhole();
}

}  // namespace

int Import(tools::HostPlatform& host, ImportForm form, std::int32_t threat, const std::string& output,
           const std::vector<std::string>& inputs, const Streams& streams) {
    TableBuilder builder(KindOf(Table::Md5), {0, 1, 2});
    std::size_t rejected = 0;
    for (const std::string& path : inputs) {
        Input input(path, streams.in);
        Rejections rejections(streams.err, input.Name());
        ReadList(form, {Text(threat)}, input, builder, rejections, streams.err);
        rejected += rejections.Count();
    }
    if (rejected != 0) {
        streams.err << rejected << " rejected; " << output << " is not written\n";
        return ExitRejected;
    }
    SaveTable(host, builder.Rows(), output, builder.Order());
    streams.out << output << ": " << builder.Count() << " rows\n";
    return ExitDone;
}

}  // namespace kel::kelsdb
