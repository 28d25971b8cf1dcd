#include "decorators/DryRunJournal.h"

#include <array>

namespace kel::decorators {

namespace {

struct Wording {
    WriteKind kind;
    std::string_view text;  // `{}` stands for the target, `[]` for the other
};

constexpr std::array Wordings{
    Wording{WriteKind::FileMade, "make file {}"},
    Wording{WriteKind::FileWritten, "write to file {}"},
    Wording{WriteKind::FileMoved, "move file {} to []"},
    Wording{WriteKind::FileRemoved, "delete file {}"},
    Wording{WriteKind::FolderMade, "make folder {}"},
    Wording{WriteKind::FolderMoved, "move folder {} to []"},
    Wording{WriteKind::FolderRemoved, "delete folder {}"},
    Wording{WriteKind::TreeRemoved, "delete folder {} with its contents"},
    Wording{WriteKind::AttributesSet, "set attributes of {} to []"},
    Wording{WriteKind::KeyMade, "make key {}"},
    Wording{WriteKind::KeyRemoved, "delete key {}"},
    Wording{WriteKind::ValueSet, "set value \"[]\" of key {}"},
    Wording{WriteKind::ValueRemoved, "delete value \"[]\" of key {}"},
    Wording{WriteKind::RegistryCommitted, "commit the registry"},
    Wording{WriteKind::ProcessEnded, "end process {} []"},
    Wording{WriteKind::ThreadEnded, "end thread {}"},
    Wording{WriteKind::PriorityChanged, "set own priority to []"},
    Wording{WriteKind::ServiceControlled, "control service {} with []"},
    Wording{WriteKind::ProgramStarted, "start program {} []"},
    Wording{WriteKind::ComponentRegistered, "register component {}"},
    Wording{WriteKind::ComponentUnregistered, "unregister component {}"},
    Wording{WriteKind::FileDownloaded, "download [] to {}"},
    Wording{WriteKind::RestorePointMade, "make restore point {}"},
    Wording{WriteKind::RegistryDiscarded, "forget what was not committed of the registry"},
};

std::string Compose(std::string_view wording, std::string_view target, std::string_view other) {
    std::string text;
    for (std::size_t at = 0; at < wording.size(); ++at) {
        const std::string_view sign = wording.substr(at, 2);
        if (sign == "{}" || sign == "[]") {
            text += sign == "{}" ? target : other;
            ++at;
        } else {
            text += wording[at];
        }
    }
    // A program without a command line, a process without a name.
    while (text.ends_with(' ')) {
        text.pop_back();
    }
    return text;
}

}  // namespace

void DryRunJournal::Add(WriteKind kind, std::string_view target, std::string_view other) const {
    if (!listener_) {
        return;
    }
    for (const Wording& wording : Wordings) {
        if (wording.kind == kind) {
            listener_({kind, std::string(target), std::string(other), Compose(wording.text, target, other)});
            return;
        }
    }
}

}  // namespace kel::decorators
