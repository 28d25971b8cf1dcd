// The options that every command has that works with an engine: which machine, and where its data lie.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace kel::frontend {

template <class Options>
struct OptionRow;

struct SessionOptions {
    std::string machine;
    std::vector<std::string> drives;  ///< `C=DIR`
    std::string user;
    std::string data;
    std::string userData;
    std::string quarantineRoot;  ///< folder of the host; empty: the user data folder
    bool dryRun = false;         ///< nothing is written, everything that would be is told
    // Set by commands, by no option.
    bool writable = false;        ///< the machine is to be changed
    bool swallowsWrites = false;  ///< nothing is written, as in a dry run, and nobody is told
    bool makesFolders = true;     ///< the user's folders are made when they are missing
};

/// These options in the order of the help.
std::span<const OptionRow<SessionOptions>> SessionOptionTable();

/// What is wrong with the options that name the machine; nothing when they can be worked with.
/// @param needed whether a machine that does not run has to be named
std::optional<std::string> CheckMachineOptions(const SessionOptions& options, bool needed);

/// What is still missing or contradictory once all options are read; nothing when a session can be opened.
std::optional<std::string> CheckSessionOptions(const SessionOptions& options);

}  // namespace kel::frontend
