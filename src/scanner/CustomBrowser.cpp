// Pages and search addresses of the browser that a threat has changed.
#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

#include "core/Failures.h"
#include "core/Text.h"
#include "core/Value.h"
#include "platform/Registry.h"
#include "rules/BrowserAddresses.h"
#include "scanner/CustomRules.h"
#include "system/modRegistry.h"

namespace kel::modScannerCustom {

namespace {

using platform::Hive;

constexpr std::string_view Pages[] = {"Search Page", "Start Page"};

std::string ValueOf(Hive hive, std::string_view key, std::string_view name) {
    return ToText(modRegistry::GetRegistryValue(hive, key, name));
}

void AddHijack(std::string_view name, std::string_view data) {
    std::string display = "Internet Explorer ";
    display.append(name).append(": ").append(data);
    AddCustom(ScanTypeRegistry, BrowserHijackThreat, CustomLocationOf(CustomBrowserHijack, std::move(display)));
}

template <class Texts>
bool HoldsOneOf(std::string_view data, const Texts& texts) {
    return std::any_of(std::begin(texts), std::end(texts),
                       [&](std::string_view text) { return ContainsText(data, text); });
}

// Whether an address without a marker differs from the one that the settings expect.
bool IsUnexpected(std::string_view data, Hive hive, std::string_view key, std::string_view name) {
    const std::string expected = addresses::Expected(hive, key, name);
    return !expected.empty() && !HoldsOneOf(data, addresses::MakersAddresses) && !EqualText(data, expected);
}

void Helper_Custom_14831_1(Hive hive, std::string_view key, std::string_view name) {
    Trap("modScannerCustom", "Helper_Custom_14831_1", [&] {
        const std::string data = ValueOf(hive, key, name);
        if (HoldsOneOf(data, addresses::HijackMarkers) || IsUnexpected(data, hive, key, name)) {
            AddHijack(name, data);
        }
    });
}

}  // namespace

void ScanBrowserHijackCustom(const Scanner& /*scanner*/) {
    for (const std::string_view page : Pages) {
        ResumeNext([&] {
            const std::string address = LCase(ValueOf(platform::HiveCurrentUser, addresses::Main, page));
            if (InStr(address, "res://") > 0 && InStr(address, ".html#") > 0) {
                // A page inside a library is named by the number 1, not by its address.
                AddHijack(page, "1");
            }
        });
    }
    for (const addresses::Address& address : addresses::Hijackable) {
        Helper_Custom_14831_1(address.hive, address.key, address.name);
    }
}

}  // namespace kel::modScannerCustom
