// What kelThreatEngine.exe was started for.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kel::automation {

enum class Task {
    Serve,       ///< by hand or by the system
    Register,    ///< /RegServer
    Unregister,  ///< /UnregServer
    Help,        ///< /? or what is not understood
};

struct CommandLine {
    Task task = Task::Serve;
    bool embedding = false;  ///< the system started it for a client's request
    bool perUser = false;    ///< for the current user instead of the machine
    std::string unknown;     ///< the first argument that is not understood
};

/// Switches begin with `/` or `-` and compare without regard to case.
[[nodiscard]] CommandLine ParseCommandLine(const std::vector<std::string>& arguments);

/// The text of /?.
extern const std::string_view Usage;

}  // namespace kel::automation
