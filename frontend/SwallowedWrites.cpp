#include "frontend/SwallowedWrites.h"

#include <utility>

namespace kel::frontend {

namespace {

using decorators::WriteKind;

const char* NameOf(WriteKind kind) {
    switch (kind) {
        case WriteKind::FileMade:
            return "file_made";
        case WriteKind::FileWritten:
            return "file_written";
        case WriteKind::FileMoved:
            return "file_moved";
        case WriteKind::FileRemoved:
            return "file_removed";
        case WriteKind::FolderMade:
            return "folder_made";
        case WriteKind::FolderMoved:
            return "folder_moved";
        case WriteKind::FolderRemoved:
            return "folder_removed";
        case WriteKind::TreeRemoved:
            return "tree_removed";
        case WriteKind::AttributesSet:
            return "attributes_set";
        case WriteKind::KeyMade:
            return "key_made";
        case WriteKind::KeyRemoved:
            return "key_removed";
        case WriteKind::ValueSet:
            return "value_set";
        case WriteKind::ValueRemoved:
            return "value_removed";
        case WriteKind::RegistryCommitted:
            return "registry_committed";
        case WriteKind::RegistryDiscarded:
            return "registry_discarded";
        case WriteKind::ProcessEnded:
            return "process_ended";
        case WriteKind::ThreadEnded:
            return "thread_ended";
        case WriteKind::PriorityChanged:
            return "priority_changed";
        case WriteKind::ServiceControlled:
            return "service_controlled";
        case WriteKind::ProgramStarted:
            return "program_started";
        case WriteKind::ComponentRegistered:
            return "component_registered";
        case WriteKind::ComponentUnregistered:
            return "component_unregistered";
        case WriteKind::FileDownloaded:
            return "file_downloaded";
        case WriteKind::RestorePointMade:
            return "restore_point_made";
    }
    return "";
}

}  // namespace

platform::Platform SwallowedWrites::Over(const platform::Platform& inner) {
    if (!swallows_) {
        return inner;
    }
    decorators::DryRunPlatform::Listener listener;
    if (tells_) {
        listener = [this](const decorators::SwallowedWrite& write) {
            waiting_.push_back({NameOf(write.kind), write.target, write.other, write.text});
        };
    }
    platform_ = std::make_unique<decorators::DryRunPlatform>(inner, std::move(listener));
    return platform_->View();
}

std::vector<WriteRecord> SwallowedWrites::Take() {
    return std::exchange(waiting_, {});
}

Json ObjectOf(const WriteRecord& write) {
    return {{"type", "write"},
            {"kind", write.kind},
            {"target", Utf8(write.target)},
            {"other", Utf8(write.other)},
            {"text", Utf8(write.text)}};
}

}  // namespace kel::frontend
