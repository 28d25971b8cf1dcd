// Runs that clean a Wine prefix with one threat of each kind, and look into the quarantine.
#pragma once

#include <nlohmann/json.hpp>

#include <sstream>
#include <string>
#include <vector>

#include "PrefixRun.h"

namespace kel::test {

using nlohmann::json;

class CleanRun : public PrefixRun {
protected:
    /// The objects of one type in a run with JSON lines.
    static std::vector<json> Objects(const Outcome& outcome, const std::string& type) {
        std::vector<json> objects;
        std::istringstream lines(outcome.out);
        for (std::string line; std::getline(lines, line);) {
            if (json object = json::parse(line); object.at("type") == type) {
                objects.push_back(std::move(object));
            }
        }
        return objects;
    }
    Outcome Quarantine(std::vector<std::string> words) const {
        words.insert(words.begin(), "quarantine");
        words.insert(words.end(), {"--machine", Machine().string(), "--user-data", UserData().string()});
        return Run(words);
    }
    Outcome Clean(const std::vector<std::string>& more = {}) const {
        std::vector<std::string> arguments{"--quarantine", "--yes", "--format", "jsonl"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return Scan(arguments);
    }
    std::vector<std::string> Records() const {
        std::vector<std::string> ids;
        for (const json& object : Objects(Quarantine({"list", "--format", "jsonl"}), "quarantined")) {
            ids.push_back(object.at("quarantine"));
        }
        return ids;
    }
};

}  // namespace kel::test
