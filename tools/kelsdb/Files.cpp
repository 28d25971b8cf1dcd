#include "kelsdb/Files.h"

#include <filesystem>
#include <system_error>

#include "core/RuntimeError.h"
#include "kelsdb/Failure.h"

namespace kel::kelsdb {

namespace fs = std::filesystem;

Input::Input(const std::string& path, std::istream& standard) : path_(path == "-" ? "" : path), standard_(standard) {
    if (path_.empty()) {
        return;
    }
    std::error_code error;
    if (fs::is_directory(path_, error)) {
        throw Failure(ExitNoInput, path_ + ": is a folder");
    }
    file_.open(path_, std::ios::binary);
    if (!file_) {
        throw Failure(ExitNoInput, path_ + ": can't be opened");
    }
}

void Input::RequireWhole() {
    if (Stream().bad()) {
        throw Failure(ExitNoInput, Name() + ": can't be read to its end");
    }
}

void OpenTable(tools::HostPlatform& host, Recordset& table, const std::string& path) {
    std::error_code error;
    if (!fs::exists(path, error)) {
        throw Failure(ExitNoInput, path + ": no such file");
    }
    try {
        table.Open(host.EnginePath(path));
    } catch (const RuntimeError& failure) {
        throw Failure(ExitNoInput, path + ": " + failure.Text());
    } catch (const tools::HostPathError& failure) {
        throw Failure(ExitNoInput, path + ": " + failure.what());
    }
}

void SaveTable(tools::HostPlatform& host, Recordset& table, const std::string& path,
               std::optional<std::size_t> orderBy) {
    const std::string temporary = path + ".part";
    std::error_code error;
    if (fs::is_directory(path, error)) {
        throw Failure(ExitNoOutput, path + ": is a folder");
    }
    try {
        const std::string enginePath = host.EnginePath(temporary);
        fs::remove(temporary, error);
        if (orderBy) {
            table.SaveInOrder(*orderBy, enginePath);
        } else {
            table.Save(enginePath);
        }
        fs::rename(temporary, path);
    } catch (const RuntimeError& failure) {
        fs::remove(temporary, error);
        throw Failure(ExitNoOutput, path + ": " + failure.Text());
    } catch (const fs::filesystem_error& failure) {
        fs::remove(temporary, error);
        throw Failure(ExitNoOutput, path + ": " + failure.code().message());
    } catch (const tools::HostPathError& failure) {
        throw Failure(ExitNoOutput, path + ": " + failure.what());
    }
}

}  // namespace kel::kelsdb
