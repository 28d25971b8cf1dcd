// The fixture of tests that scan: tables, a current scan, and what it told its front end.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "results/Scan.h"
#include "scanner/Scanner.h"
#include "support/EngineTest.h"
#include "support/ShippedTables.h"

namespace kel::test {

/// What the front end of a test heard.
struct HeardStart {
    std::string location;
    enScanType type{};
    std::int32_t count = 0;
    friend bool operator==(const HeardStart&, const HeardStart&) = default;
};
struct HeardThreat {
    std::string location;
    enScanType type{};
    std::int32_t threat = 0;
    std::int32_t count = 0;
    friend bool operator==(const HeardThreat&, const HeardThreat&) = default;
};

void PrintTo(const HeardStart& heard, std::ostream* stream);
void PrintTo(const HeardThreat& heard, std::ostream* stream);

class ScanTest : public EngineTest {
protected:
    /// Writes `tables` and begins a scan with them; ready for options.
    void Begin();

    /// A scan that has no Scanner behind it, as the current one, with the callback subscribed.
    std::shared_ptr<Scan> BareScan();

    [[nodiscard]] std::vector<std::string> StartedLocations() const;
    /// Paths of all file locations of a threat, in order; empty when it was not detected.
    [[nodiscard]] std::vector<std::string> FilesOf(std::int32_t threat);

    /// MD5 of `bytes` as the tables have it.
    [[nodiscard]] static std::string HashOf(std::string_view bytes);
    /// `size` bytes that differ from those of another `seed`.
    [[nodiscard]] static std::string Bytes(std::size_t size, char seed);

    ShippedTables tables;
    Scanner scanner;
    std::vector<HeardStart> started;
    std::vector<HeardThreat> found;
    std::vector<std::string> aborted;
    int polls = 0;
    int abortAtPoll = 0;  ///< the answer to that poll is to stop; 0: never

private:
    void Listen(ScannerCallback& callback);
};

}  // namespace kel::test
