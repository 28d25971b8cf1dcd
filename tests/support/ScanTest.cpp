#include "support/ScanTest.h"

#include <ostream>
#include <span>

#include "system/Md5.h"

namespace kel::test {

void PrintTo(const HeardStart& heard, std::ostream* stream) {
    *stream << "start " << heard.type << " " << heard.location << " #" << heard.count;
}

void PrintTo(const HeardThreat& heard, std::ostream* stream) {
    *stream << "threat " << heard.threat << " " << heard.type << " " << heard.location << " #" << heard.count;
}

void ScanTest::Begin() {
    tables.WriteTo(AppFolder());
    State().UserDataFolderIsSet = true;
    ASSERT_TRUE(scanner.InitializeScan());
    ASSERT_NE(scanner.Scan(), nullptr);
    Listen(*scanner.Scan()->Callback);
}

std::shared_ptr<Scan> ScanTest::BareScan() {
    const auto scan = std::make_shared<Scan>();
    scan->Callback = std::make_shared<ScannerCallback>();
    Listen(*scan->Callback);
    SetCurrentScan(scan);
    return scan;
}

void ScanTest::Listen(ScannerCallback& callback) {
    ScannerEvents events;
    events.StartingLocation = [this](std::string_view location, enScanType type, std::int32_t count) {
        started.push_back({std::string(location), type, count});
    };
    events.ThreatDetected = [this](std::string_view location, enScanType type, std::int32_t threat,
                                   std::int32_t count) {
        found.push_back({std::string(location), type, threat, count});
    };
    events.ScanAborted = [this](std::string_view reason) { aborted.emplace_back(reason); };
    events.RequestScanAbort = [this](bool& abort) {
        if (++polls == abortAtPoll) {
            abort = true;
        }
    };
    callback.Subscribe(std::move(events));
}

std::vector<std::string> ScanTest::StartedLocations() const {
    std::vector<std::string> locations;
    for (const HeardStart& heard : started) {
        locations.push_back(heard.location);
    }
    return locations;
}

std::vector<std::string> ScanTest::FilesOf(std::int32_t threat) {
    std::vector<std::string> paths;
    for (const auto& detected : *CurrentScan()->DetectedThreats()) {
        if (detected->ThreatID == threat) {
            for (const auto& location : *detected->ThreatLocationFiles) {
                paths.push_back(location->DetectedFilePath());
            }
        }
    }
    return paths;
}

std::string ScanTest::HashOf(std::string_view bytes) {
    Md5 md5;
    md5.Update(std::as_bytes(std::span(bytes)));
    return HexText(md5.Finish());
}

std::string ScanTest::Bytes(std::size_t size, char seed) {
    std::string bytes(size, seed);
    for (std::size_t at = 0; at < size; at += 7) {
        bytes[at] = static_cast<char>(static_cast<unsigned char>(at / 7));
    }
    return bytes;
}

}  // namespace kel::test
