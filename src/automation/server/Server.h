// The server process: one for each user, and it stays.
#pragma once

namespace kel::automation {

/// Runs the engine until the process is ended from outside, or ends at once when there is one already.
/// @param embedding the system started this process for a client
/// @return the process's exit code
int Serve(bool embedding);

}  // namespace kel::automation
