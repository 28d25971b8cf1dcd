#include "hivemake/Lines.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <limits>
#include <vector>

#include "hivemake/LoneSurrogates.h"
#include "offline/Wtf8.h"

namespace kel::hivemake {
namespace {

using nlohmann::json;
using offline::KeyId;
using Bytes = std::vector<std::byte>;

constexpr std::uint32_t TypeText = 1;
constexpr std::uint32_t TypeBinary = 3;
constexpr std::uint32_t TypeNumber = 4;
constexpr std::uint32_t TypeTexts = 7;

std::u16string Units(const json& text) {
    return UnitsOf(text.get<std::string>());
}

const json& List(const json& list, const char* name) {
    if (!list.is_array())
        throw LineError(std::string(name) + " is no list");
    return list;
}

std::uint32_t Number(const json& number, const char* name) {
    if (!number.is_number_unsigned() || number.get<std::uint64_t>() > std::numeric_limits<std::uint32_t>::max())
        throw LineError(std::string(name) + " is no number of 32 bits");
    return number.get<std::uint32_t>();
}

KeyId MakeKey(offline::Hive& hive, const json& path) {
    KeyId key = hive.Root();
    for (const json& name : List(path, "path")) {
        const auto made = hive.CreateKey(key, Units(name));
        if (!made)
            throw LineError("the key " + name.dump() + " can't be made (error " +
                            std::to_string(static_cast<int>(made.Error())) + ")");
        key = *made;
    }
    return key;
}

Bytes FromHex(const std::string& digits) {
    const auto value = [&digits](std::size_t at) {
        const char c = digits[at];
        if (c >= '0' && c <= '9')
            return static_cast<unsigned>(c - '0');
        if (c >= 'a' && c <= 'f')
            return static_cast<unsigned>(c - 'a' + 10);
        if (c >= 'A' && c <= 'F')
            return static_cast<unsigned>(c - 'A' + 10);
        throw LineError("data are hexadecimal digits");
    };
    if (digits.size() % 2 != 0)
        throw LineError("data have two digits a byte");
    Bytes bytes;
    for (std::size_t at = 0; at < digits.size(); at += 2)
        bytes.push_back(static_cast<std::byte>(value(at) << 4 | value(at + 1)));
    return bytes;
}

void AppendText(Bytes& bytes, const json& text) {
    const Bytes units = offline::BytesFromUnits(Units(text) + u'\0');
    bytes.insert(bytes.end(), units.begin(), units.end());
}

struct Data {
    std::uint32_t type = 0;
    Bytes bytes;
};

Data DataOf(const json& line) {
    Data data;
    if (line.contains("text")) {
        data.type = TypeText;
        AppendText(data.bytes, line["text"]);
    } else if (line.contains("texts")) {
        data.type = TypeTexts;
        for (const json& text : List(line["texts"], "texts"))
            AppendText(data.bytes, text);
        data.bytes.resize(data.bytes.size() + 2);
    } else if (line.contains("number")) {
        data.type = TypeNumber;
        const std::uint32_t number = Number(line["number"], "number");
        for (unsigned shift = 0; shift < 32; shift += 8)
            data.bytes.push_back(static_cast<std::byte>(number >> shift & 0xFF));
    } else {
        data.type = TypeBinary;
        data.bytes = FromHex(line.at("data").get<std::string>());
    }
    if (line.contains("valueType"))
        data.type = Number(line["valueType"], "valueType");
    return data;
}

void ReadLine(const json& line, offline::Hive& hive) {
    const std::string type = line.at("type").get<std::string>();
    if (type == "key") {
        MakeKey(hive, line.at("path"));
    } else if (type == "value") {
        const KeyId key = MakeKey(hive, line.at("path"));
        const Data data = DataOf(line);
        const std::u16string name = line.contains("name") ? Units(line["name"]) : std::u16string();
        const auto error = hive.SetValue(key, name, data.type, data.bytes);
        if (error != platform::SysError::Success)
            throw LineError("the value can't be set (error " + std::to_string(static_cast<int>(error)) + ")");
    }
}

}  // namespace

void ReadLines(std::istream& in, offline::Hive& hive) {
    std::string text;
    for (std::size_t number = 1; std::getline(in, text); ++number) {
        if (text.find_first_not_of(" \t\r") == std::string::npos)
            continue;
        try {
            ReadLine(json::parse(MarkLoneSurrogates(text)), hive);
        } catch (const LineError& error) {
            throw LineError("line " + std::to_string(number) + ": " + error.what());
        } catch (const json::exception& error) {
            throw LineError("line " + std::to_string(number) + ": " + error.what());
        }
    }
    if (in.bad())
        throw InputError("can't be read");
}

}  // namespace kel::hivemake
