#include "support/MachineSnapshot.h"

#include <cstdint>

#include "support/ScratchMachine.h"

namespace kel::test {

using platform::FindData;
using platform::SysError;

namespace {

// FNV-1a: any change shows.
std::string Digest(std::string_view bytes) {
    std::uint64_t sum = 14'695'981'039'346'656'037ULL;
    for (const char byte : bytes) {
        sum = (sum ^ static_cast<unsigned char>(byte)) * 1'099'511'628'211ULL;
    }
    return std::to_string(sum);
}

}  // namespace

std::vector<std::string> SnapshotOfFiles(const platform::Platform& machine, const std::string& folder) {
    std::vector<std::string> lines;
    std::vector<std::string> waiting{folder};
    while (!waiting.empty()) {
        const std::string at = std::move(waiting.back());
        waiting.pop_back();
        FindData entry;
        auto find = machine.files->FindFirst(at + "*", entry);
        for (SysError error = find.Error(); error == SysError::Success; error = (*find)->Next(entry)) {
            if (entry.name == "." || entry.name == "..") {
                continue;
            }
            const std::string path = at + entry.name;
            std::string line = path + " " + std::to_string(entry.attributes) + " " + entry.alternateName;
            if ((entry.attributes & platform::AttributeDirectory) != 0) {
                if ((entry.attributes & platform::AttributeReparsePoint) == 0) {
                    waiting.push_back(path + "\\");
                }
            } else {
                line += " " + std::to_string(entry.size) + " " + std::to_string(entry.lastWrite) + " ";
                // A file that another program holds has no bytes to read.
                const auto view = machine.files->View(path);
                line += view ? Digest({reinterpret_cast<const char*>((*view)->Bytes().data()), (*view)->Bytes().size()})
                             : "unreadable";
            }
            lines.push_back(std::move(line));
        }
    }
    return lines;
}

std::vector<std::string> SnapshotOfKeys(const platform::Platform& machine, platform::Hive hive,
                                        const std::string& key) {
    std::vector<std::string> lines{key};
    std::vector<std::string> subKeys;
    {
        const auto open = machine.registry->Open(hive, key);
        if (!open) {
            return {key + " is not there: " + std::to_string(platform::Number(open.Error()))};
        }
        for (std::uint32_t index = 0;; ++index) {
            const auto value = (*open)->EnumValue(index);
            if (!value) {
                break;
            }
            lines.push_back(key + " [" + value->name + "] " +
                            std::to_string(static_cast<std::uint32_t>(value->value.type)) + " " + value->value.data);
        }
        for (std::uint32_t index = 0;; ++index) {
            auto name = (*open)->EnumKey(index);
            if (!name) {
                break;
            }
            subKeys.push_back(*std::move(name));
        }
    }
    for (const std::string& name : subKeys) {
        for (std::string& line : SnapshotOfKeys(machine, hive, key.empty() ? name : key + "\\" + name)) {
            lines.push_back(std::move(line));
        }
    }
    return lines;
}

}  // namespace kel::test
