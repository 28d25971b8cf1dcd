// Where the browser keeps the addresses that hijackers change, and what belongs there.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "platform/Registry.h"

namespace kel::addresses {

/// A registry value that holds an address.
struct Address {
    platform::Hive hive;
    std::string_view key;
    std::string_view name;      ///< empty for the default value
    std::string_view original;  ///< as the browser's maker ships it; SystemFolder at its start stands for that folder
};

inline constexpr std::string_view SystemFolder = R"(%system%\)";

inline constexpr std::string_view Main = R"(Software\Microsoft\Internet Explorer\Main)";
inline constexpr std::string_view Search = R"(Software\Microsoft\Internet Explorer\Search)";
inline constexpr std::string_view SearchUrl = R"(Software\Microsoft\Internet Explorer\SearchUrl)";
inline constexpr std::string_view AboutURLs = R"(SOFTWARE\Microsoft\Internet Explorer\AboutURLs)";
inline constexpr std::string_view DefaultPrefix = R"(SOFTWARE\Microsoft\Windows\CurrentVersion\URL\DefaultPrefix)";
inline constexpr std::string_view Prefixes = R"(SOFTWARE\Microsoft\Windows\CurrentVersion\URL\Prefixes)";

// The maker's defaults: what a restored browser must be able to open.
inline constexpr std::string_view StartPage = "http://www.msn.com/";
inline constexpr std::string_view SearchPage = "http://www.microsoft.com/isapi/redir.dll?prd=ie&ar=iesearch";
inline constexpr std::string_view DefaultPage = "http://www.microsoft.com/isapi/redir.dll?prd=ie&pver=6&ar=msnhome";
inline constexpr std::string_view LocalPage = R"(%system%\blank.htm)";
inline constexpr std::string_view SearchBar = "http://home.microsoft.com/search/lobby/search.asp";
inline constexpr std::string_view DefaultSearch = "http://home.microsoft.com/search/search.asp";
inline constexpr std::string_view Customize = "http://ie.search.msn.com/{SUB_RFC1766}/srchasst/srchcust.htm";
inline constexpr std::string_view AutoSearch = "http://home.microsoft.com/access/autosearch.asp?p=%s";
inline constexpr std::string_view NavigationCancelled = "res://shdoclc.dll/navcancl.htm";

/// The values that a hijack changes, in the order in which they are looked at and restored.
inline constexpr Address Hijackable[] = {
    {platform::HiveCurrentUser, Main, "Start Page", StartPage},
    {platform::HiveCurrentUser, Main, "Search Page", SearchPage},
    {platform::HiveCurrentUser, Main, "Default_Page_URL", DefaultPage},
    {platform::HiveCurrentUser, Main, "Local Page", LocalPage},
    {platform::HiveCurrentUser, Main, "Search Bar", SearchBar},
    {platform::HiveCurrentUser, Main, "Default_Search_URL", DefaultSearch},
    {platform::HiveLocalMachine, Main, "Start Page", StartPage},
    {platform::HiveLocalMachine, Main, "Search Page", SearchPage},
    {platform::HiveLocalMachine, Main, "Default_Page_URL", DefaultPage},
    {platform::HiveLocalMachine, Main, "Local Page", LocalPage},
    {platform::HiveLocalMachine, Main, "Search Bar", SearchBar},
    {platform::HiveLocalMachine, Main, "Default_Search_URL", DefaultSearch},
    {platform::HiveCurrentUser, Search, "CustomizeSearch", Customize},
    {platform::HiveLocalMachine, Search, "CustomizeSearch", Customize},
    {platform::HiveCurrentUser, Search, "SearchAssistant", Customize},
    {platform::HiveLocalMachine, Search, "SearchAssistant", Customize},
    {platform::HiveCurrentUser, SearchUrl, "", AutoSearch},
    {platform::HiveLocalMachine, SearchUrl, "", AutoSearch},
    {platform::HiveLocalMachine, AboutURLs, "blank", "res://mshtml.dll/blank.htm"},
    {platform::HiveLocalMachine, AboutURLs, "DesktopItemNavigationFailure", NavigationCancelled},
    {platform::HiveLocalMachine, AboutURLs, "NavigationCanceled", NavigationCancelled},
    {platform::HiveLocalMachine, AboutURLs, "NavigationFailure", NavigationCancelled},
    {platform::HiveLocalMachine, AboutURLs, "OfflineInformation", "res://shdoclc.dll/offcancl.htm"},
    {platform::HiveLocalMachine, AboutURLs, "PostNotCached", "res://mshtml.dll/repost.htm"},
    {platform::HiveLocalMachine, AboutURLs, "mozilla", "res://mshtml.dll/about.moz"},
};

/// What is put before an address without a scheme. Restored behind the others, and not looked at by the scan.
inline constexpr Address SchemePrefixes[] = {
    {platform::HiveLocalMachine, DefaultPrefix, "", "http://"},
    {platform::HiveLocalMachine, Prefixes, "ftp", "ftp://"},
    {platform::HiveLocalMachine, Prefixes, "gopher", "gopher://"},
    {platform::HiveLocalMachine, Prefixes, "home", "http://"},
    {platform::HiveLocalMachine, Prefixes, "mosaic", "http://"},
    {platform::HiveLocalMachine, Prefixes, "www", "http://"},
};

/// Texts that give a hijacked address away: search sites, and two file names. The sites are stand-ins below names that
/// are reserved for examples, so that no real site is accused; the current ones are for whoever ships signatures.
inline constexpr std::string_view HijackMarkers[] = {
    "searchportal.example", "findnow.example",    "besthome.example",      "quickfind.example",
    "toplinks.example",     "webcatalog.example", "freestartpage.example", "searchassist.example",
    "popupsearch.example",  "toolbar.dll",        "SearchBar.htm",
};

/// Addresses of the browser's maker: a value that holds one of them is no hijack, even where another one is expected.
inline constexpr std::string_view MakersAddresses[] = {
    "www.msn.com/",
    "www.microsoft.com/isapi/redir.dll",
    "home.microsoft.com/",
    "ie.search.msn.com/",
};

/// What the settings say that a value should hold; empty when they say nothing. The engine's own settings never do.
[[nodiscard]] std::string Expected(platform::Hive hive, std::string_view key, std::string_view name);

/// Installs settings that are asked by Expected, with the hive's name, a backslash, the key and, behind a blank, the
/// value name if it has one. An empty function takes them away.
void AskSettings(std::function<std::string(std::string_view)> settings);

}  // namespace kel::addresses
