#include "ScanRun.h"

#include <stdlib.h>
#include <sys/stat.h>

#include <fstream>
#include <span>
#include <sstream>

#include "../CapturedStream.h"
#include "frontend/CommandLine.h"
#include "kelsdb/CommandLine.h"
#include "system/Md5.h"

namespace kel::test {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view ThreatColumns =
    "ThreatID,ThreatName,ThreatCategory,ThreatType,ThreatDesc,ThreatAuthor,ThreatAuthorURL,ThreatLevel,"
    "ThreatAdviseType,ThreatAdviseDetails,ThreatCanQuarantine,ThreatCustomRemovalType,ThreatCustomData,"
    "ThreatOptionLevel\n";

void Create(const std::string& kind, const fs::path& file, const std::string& csv) {
    std::istringstream in(csv);
    std::ostringstream out;
    std::ostringstream err;
    EXPECT_EQ(kelsdb::Run({"create", "--table", kind, "-o", file.string()}, {in, out, err}), kelsdb::ExitDone)
        << kind << ": " << err.str();
}

// From the four columns that tests name to all of them.
std::string ThreatRows(const std::string& rows) {
    std::string csv(ThreatColumns);
    csv += "0,105,version,version,,,,0,0,,false,0,,0\n";
    std::istringstream lines(rows);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        std::string id, name, category, level;
        std::getline(fields, id, ',');
        std::getline(fields, name, ',');
        std::getline(fields, category, ',');
        std::getline(fields, level, ',');
        csv += id + "," + name + "," + category + "," + category + ",,,," + level + ",0,,true,0,,0\n";
    }
    return csv;
}

// Puts `shown` in the place of what stands between two texts, if both are there.
void Mask(std::string& line, std::string_view before, std::string_view behind, std::string_view shown) {
    const std::size_t start = line.find(before);
    if (start == std::string::npos) {
        return;
    }
    const std::size_t from = start + before.size();
    const std::size_t end = line.find(behind, from);
    if (end != std::string::npos) {
        line.replace(from, end - from, shown);
    }
}

}  // namespace

ScanRun::ScanRun() {
    std::string pattern = (fs::temp_directory_path() / "kel-scan-XXXXXX").string();
    EXPECT_NE(::mkdtemp(pattern.data()), nullptr);
    root_ = pattern;
    fs::create_directories(Machine());
    fs::create_directories(Data());
}

ScanRun::~ScanRun() {
    std::error_code ignored;
    for (auto entry = fs::recursive_directory_iterator(root_, ignored); entry != fs::recursive_directory_iterator();
         entry.increment(ignored)) {
        if (entry->is_directory(ignored) && !entry->is_symlink(ignored)) {
            fs::permissions(entry->path(), fs::perms::owner_all, fs::perm_options::add, ignored);
        }
    }
    fs::remove_all(root_, ignored);
}

void ScanRun::Write(const std::string& path, std::string_view bytes) const {
    const fs::path file = root_ / path;
    fs::create_directories(file.parent_path());
    std::ofstream stream(file, std::ios::binary);
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    EXPECT_TRUE(stream.good()) << file;
}

void ScanRun::MakeTables(const Tables& tables) const {
    const std::string keyed = "ThreatID,Key,OptionalScan\n";
    Create("threats", Data() / "kelThreatData.sdb", ThreatRows(tables.threats));
    Create("cookies", Data() / "KelThreatCookie.sdb", "ThreatID,Key\n" + tables.cookies);
    Create("md5", Data() / "KelThreatFileMD5.sdb", keyed + tables.md5);
    Create("paths", Data() / "KelThreatFilePath.sdb", keyed + tables.paths);
    Create("folders", Data() / "KelThreatFolder.sdb", keyed + tables.folders);
    Create("regkeys", Data() / "KelThreatRegKey.sdb",
           "ThreatID,RegHive,RegKey,RegValueName,RegValueData,OptionalScan\n" + tables.regkeys);
    Create("extensions", Data() / "KelFileExtensions.sdb", "Extension\n" + tables.extensions);
    MakeResuscitators("");
}

void ScanRun::MakeResuscitators(const std::string& rows) const {
    Create("resuscitators", Data() / "kelRes.sdb",
           "ThreatID,ResExeName,ResExeMD5,ResDeleteFile,ResDeleteRegKey,ResInternalName\n" + rows);
}

void ScanRun::MakeTables() const {
    MakeTables({"9001,Example.Adware.One,Adware,2\n9002,Example.Trojan.Two,Trojan,1\n",
                "9001," + HashOf(Bad()) + ",0\n", "9002,c:\\small\\bad.exe,0\n", "", ".exe\n.dll\n"});
}

std::string ScanRun::Bad() {
    std::string bytes(1500, 'b');
    for (std::size_t at = 0; at < bytes.size(); at += 5) {
        bytes[at] = static_cast<char>('a' + at % 23);
    }
    return bytes;
}

std::string ScanRun::HashOf(std::string_view bytes) {
    Md5 md5;
    md5.Update(std::as_bytes(std::span(bytes)));
    return HexText(md5.Finish());
}

Outcome ScanRun::Scan(const std::vector<std::string>& more) const {
    std::vector<std::string> arguments{"scan",          "--machine",   Machine().string(),  "--data",
                                       Data().string(), "--user-data", UserData().string(), "--no-progress"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Run(arguments);
}

Outcome ScanRun::Run(const std::vector<std::string>& arguments) {
    const CapturedStream out;
    const CapturedStream err;
    const int code = frontend::Run(arguments, {out.File(), err.File()});
    return {code, out.Text(), err.Text()};
}

std::vector<std::string> ScanRun::Lines(const std::string& text) const {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        Mask(line, "\"scan\":\"", "\"", "<scan>");
        Mask(line, "\"seconds\":", ",", "<seconds>");
        Mask(line, " scanned in ", " s", "<seconds>");
        for (std::size_t at; (at = line.find(root_.string())) != std::string::npos;) {
            line.replace(at, root_.string().size(), "<root>");
        }
        lines.push_back(line);
    }
    return lines;
}

std::map<std::string, std::string> ScanRun::Snapshot(const fs::path& folder) {
    std::map<std::string, std::string> entries;
    const auto add = [&](const fs::path& path) {
        struct stat status {};
        EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
        std::ostringstream text;
        text << status.st_mode << ' ' << status.st_ino << ' ' << status.st_mtim.tv_sec << '.' << status.st_mtim.tv_nsec
             << ' ' << status.st_ctim.tv_sec << '.' << status.st_ctim.tv_nsec << ' ';
        if (S_ISREG(status.st_mode)) {
            text << std::ifstream(path, std::ios::binary).rdbuf();
        }
        entries[path.lexically_relative(folder).string()] = text.str();
    };
    add(folder);
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        add(entry.path());
    }
    return entries;
}

std::map<std::string, std::string> ScanRun::Contents(const fs::path& folder) {
    std::map<std::string, std::string> entries;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        std::ostringstream text;
        if (entry.is_regular_file()) {
            text << std::ifstream(entry.path(), std::ios::binary).rdbuf();
        }
        entries[entry.path().lexically_relative(folder).string()] = text.str();
    }
    return entries;
}

}  // namespace kel::test
