// Threads and children of processes.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "core/Collection.h"
#include "platform/Processes.h"

/// Nothing here tells whether a thread survived: who needs to know asks whether its process still runs. Failures are
/// reported, none is raised. Identifiers are the platform's as signed numbers; a negative one belongs to no process.
namespace kel::modProcesses {

/// Lists every thread of the machine; the caller picks those of its process by their owner.
/// @param threads filled anew
/// @param processId handed to the platform, which does not look at it
/// @return place of the last thread, counted from 0; -1 when there is no first one
std::int32_t Thread32_Enum(std::vector<platform::ThreadEntry>& threads, std::int32_t processId);

/// Opens a thread and ends it. The access asked for is that of suspending, so the platform refuses the end.
void Thread_Terminate(std::int32_t threadId);

/// Thread_Terminate for each thread of a process.
void TerminateProcessThreads(std::int32_t processId);

/// TerminateProcessThreads for a process and its children, depth first: a parent's threads come before its
/// children's. A process that the walk is in already is not entered again. 0 is refused.
/// @param children whether to go on to the children
void TerminateThreadTree(std::int32_t processId, bool children);

/// Identifiers of the processes whose parent is `processId`, in the platform's order. The first process of the
/// machine's list is never among them.
/// @return null when the platform lists no process at all
std::shared_ptr<Collection<std::int32_t>> GetProcessChildren(std::int32_t processId);

}  // namespace kel::modProcesses
