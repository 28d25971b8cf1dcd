#include "core/Failures.h"

#include <span>
#include <utility>

#include "core/EngineState.h"
#include "core/Paths.h"
#include "core/Text.h"
#include "core/Unnoticed.h"
#include "core/Value.h"
#include "platform/Platform.h"

namespace kel {

namespace {

constexpr std::uint64_t MaxLogBytes = 20000;

// The error channel's own data, one for each engine state.
struct Channel {
    FailureCounts counts;
    std::function<void(const FailureRecord&)> observer;
    bool observing = false;
};

bool IsInformational(std::string_view number) {
    return Trim(number) == "0";
}

void Notify(std::string_view description, std::string_view number, std::string_view module,
            std::string_view procedure) {
    Channel& channel = ModuleData<Channel>();
    ++(IsInformational(number) ? channel.counts.informational : channel.counts.errors);
    // An observer that fails through this channel itself is not told about that.
    if (!channel.observer || channel.observing) {
        return;
    }
    channel.observing = true;
    const auto observer = channel.observer;
    ResumeNext([&] {
        observer({std::string(description), std::string(number), std::string(module), std::string(procedure)});
    });
    channel.observing = false;
}

// A log that has grown past its limit is thrown away whole. False when that failed.
bool MakeRoom(const std::string& log) {
    platform::Files& files = *platform::Current().files;
    if (!paths::FileExists(log) || files.Length(log).ValueOr(0) <= MaxLogBytes) {
        return true;
    }
    if (files.Remove(log) != platform::SysError::Success) {
        return false;
    }
    DoEvents();
    return true;
}

void WriteErrorLog(std::string_view description, std::string_view number, std::string_view module,
                   std::string_view procedure) {
    std::string& folder = State().UserDataFolder;
    folder = WithBackslash(folder);
    if (!paths::FolderExists(folder + "logs")) {
        paths::CreateFolderPath(folder + "logs");
    }
    if (IsInformational(number)) {
        number = "Informational only:";
    }
    if (!MakeRoom(folder + "logs\\errors.log")) {
        return;
    }
    const AppInfo& app = State().App;
    std::string line;
    line.append(number).append("::").append(description).append("| Application:").append(app.EXEName);
    line.append(":").append(module).append(":").append(procedure).append("::");
    line.append(DateText(platform::Current().clock->Now())).append("::").append(Text(app.Major));
    line.append(".").append(Text(app.Minor)).append(".").append(Text(app.Revision));
    // The folder is read anew: a call that DoEvents let in may have changed it.
    AppendLineToFile(line, folder + "logs\\errors.log");
}

}  // namespace

void ReportError(std::string_view description, std::string_view number, std::string_view module,
                 std::string_view procedure, int /*reserved*/) noexcept {
    if (Unnoticed::Active()) {
        return;
    }
    ResumeNext([&] { Notify(description, number, module, procedure); });
    ResumeNext([&] { WriteErrorLog(description, number, module, procedure); });
}

void ReportError(const RuntimeError& error, std::string_view module, std::string_view procedure) noexcept {
    ResumeNext([&] {
        ReportError("ln " + Text(error.Where().line()) + ":" + error.Text(), Text(error.Number()), module, procedure);
    });
}

void EventLog(std::int32_t code, std::string_view message) {
    std::string line = Text(code);
    line.append("::").append(message).append("::").append(DateText(platform::Current().clock->Now()));
    AppendLineToFile(line, State().UserDataFolder + "Events.log");
}

bool AppendLineToFile(std::string_view line, std::string_view path) {
    auto file = platform::Current().files->Open(path, platform::OpenMode::Append);
    if (!file) {
        return false;
    }
    std::string bytes(line);
    bytes += "\r\n";
    return (*file)->Write(std::as_bytes(std::span(bytes))) == platform::SysError::Success;
}

const FailureCounts& Failures() {
    return ModuleData<Channel>().counts;
}

void ObserveFailures(std::function<void(const FailureRecord&)> observer) {
    ModuleData<Channel>().observer = std::move(observer);
}

}  // namespace kel
