#include "support/ShellLink.h"

#include <algorithm>
#include <string_view>

namespace kel::test {

namespace {

using namespace std::string_view_literals;

// What the header's flags tell of the rest.
enum Flags : std::uint32_t {
    HasItemIDs = 0x1,
    HasLocation = 0x2,
    HasName = 0x4,
    HasRelativePath = 0x8,
    HasWorkingFolder = 0x10,
    TextsAreUnicode = 0x80,
    HasEnvironment = 0x200,
};

constexpr std::string_view LinkClass = "\x01\x14\x02\x00\x00\x00\x00\x00\xC0\x00\x00\x00\x00\x00\x00\x46"sv;
constexpr std::string_view MyComputer = "\xE0\x4F\xD0\x20\xEA\x3A\x69\x10\xA2\xD8\x08\x00\x2B\x30\x30\x9D"sv;
constexpr std::size_t EnvironmentField = 260;
constexpr std::size_t DriveItemField = 22;

std::string Number(std::uint64_t number, int bytes) {
    std::string text;
    for (int at = 0; at < bytes; ++at) {
        text += static_cast<char>(static_cast<unsigned char>(number >> (8 * at)));
    }
    return text;
}

std::string Two(std::size_t number) {
    return Number(number, 2);
}

std::string Four(std::uint64_t number) {
    return Number(number, 4);
}

std::string Zeros(std::size_t count) {
    return std::string(count, '\0');
}

std::string Wide(std::string_view text) {
    std::string wide;
    for (const char c : text) {
        wide += c;
        wide += '\0';
    }
    return wide;
}

std::string Padded(std::string text, std::size_t size) {
    text.resize(size, '\0');
    return text;
}

std::string Item(const std::string& data) {
    return Two(data.size() + 2) + data;
}

// A file or folder with its short name, and its long one in the block behind it.
std::string PathItem(std::string_view name, bool folder) {
    std::string shortName(name.substr(0, 8));
    std::transform(shortName.begin(), shortName.end(), shortName.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
    std::string data = folder ? "\x31" + Zeros(5) : "\x32" + Zeros(1) + Four(4096);
    data += Four(0x5A215A21) + Two(folder ? 0x10 : 0x20) + shortName + '\0';
    if (data.size() % 2 != 0) {
        data += '\0';
    }
    const std::string block =
        Two(3) + Four(0xBEEF0004) + Four(0x5A215A21) + Four(0x5A215A21) + Two(20) + Wide(name) + Zeros(2);
    const std::size_t at = data.size() + 2;
    return Item(data + Two(block.size() + 4) + block + Two(at));
}

std::string ItemIDs(std::string_view target) {
    std::string items = Item("\x1F\x50" + std::string(MyComputer));
    items += Item("\x2F" + Padded(std::string(target.substr(0, 3)), DriveItemField));
    for (std::size_t at = 3; at < target.size();) {
        const std::size_t end = std::min(target.find('\\', at), target.size());
        items += PathItem(target.substr(at, end - at), end < target.size());
        at = end + 1;
    }
    items += Zeros(2);
    return Two(items.size()) + items;
}

// One header, then the texts behind it, each at the place that the header names.
std::string VolumeLocation(const ShellLink& link, const std::string& path) {
    constexpr std::size_t volumeHeader = 16;
    const std::size_t header = link.unicodeLocation ? 36 : 28;
    std::string volume = Four(volumeHeader + link.label.size() + 1) + Four(3) + Four(link.serial) + Four(volumeHeader) +
                         link.label + '\0';
    const std::size_t pathAt = header + volume.size();
    const std::size_t suffixAt = pathAt + path.size() + 1;
    std::string rest = volume + path + '\0' + '\0';
    std::string places = Four(header) + Four(pathAt) + Four(0) + Four(suffixAt);
    if (link.unicodeLocation) {
        const std::size_t widePath = header + rest.size();
        rest += Wide(link.target) + Zeros(2);
        places += Four(widePath) + Four(header + rest.size());
        rest += Zeros(2);
    }
    return Four(header + rest.size()) + Four(header) + Four(1) + places + rest;
}

std::string ShareLocation(const ShellLink& link) {
    constexpr std::size_t header = 28;
    constexpr std::size_t shareHeader = 20;
    const std::string share = Four(shareHeader + link.share.size() + 1) + Four(0) + Four(shareHeader) + Four(0) +
                              Four(0x20000) + link.share + '\0';
    const std::string suffix = link.target.substr(3) + '\0';
    return Four(header + share.size() + suffix.size()) + Four(header) + Four(2) + Four(0) + Four(0) + Four(header) +
           Four(header + share.size()) + share + suffix;
}

std::string CountedText(std::string_view text) {
    return Two(text.size()) + Wide(text);
}

}  // namespace

std::string MakeShellLink(const ShellLink& link) {
    std::uint32_t flags = TextsAreUnicode;
    std::string body;
    if (link.itemIDs) {
        flags |= HasItemIDs;
        body += ItemIDs(link.target);
    }
    if (link.location) {
        flags |= HasLocation;
        body += link.share.empty() ? VolumeLocation(link, link.ansiPath.empty() ? link.target : link.ansiPath)
                                   : ShareLocation(link);
    }
    if (link.texts) {
        flags |= HasName | HasRelativePath | HasWorkingFolder;
        body += CountedText("A thing") + CountedText("..\\thing.exe") + CountedText("C:\\Program Files\\Thing");
    }
    if (link.environment) {
        flags |= HasEnvironment;
        const std::string path = "%ProgramFiles%\\Thing\\thing.exe";
        body +=
            Four(0x314) + Four(0xA0000001) + Padded(path, EnvironmentField) + Padded(Wide(path), 2 * EnvironmentField);
    }
    body += Four(0);
    return Four(76) + std::string(LinkClass) + Four(flags) + Four(0x20) + Zeros(24) + Four(4096) + Four(0) + Four(1) +
           Zeros(12) + body;
}

}  // namespace kel::test
