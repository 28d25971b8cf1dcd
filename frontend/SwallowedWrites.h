// What a dry run would have written, from the platform that keeps it to itself to those who show it.
#pragma once

#include <memory>
#include <vector>

#include "decorators/DryRunPlatform.h"
#include "frontend/CleanRecords.h"
#include "frontend/JsonLine.h"
#include "platform/Platform.h"

namespace kel::frontend {

class SwallowedWrites {
public:
    /// @param swallows whether writes are swallowed at all
    /// @param tells whether they are remembered
    SwallowedWrites(bool swallows, bool tells) : swallows_(swallows), tells_(tells) {}
    SwallowedWrites(const SwallowedWrites&) = delete;
    SwallowedWrites& operator=(const SwallowedWrites&) = delete;

    /// The platform as the engine shall see it. Once; `inner` outlives the object, and so does this what it gives.
    [[nodiscard]] platform::Platform Over(const platform::Platform& inner);
    /// Those that came since the last call, in their order.
    [[nodiscard]] std::vector<WriteRecord> Take();

private:
    bool swallows_;
    bool tells_;
    std::vector<WriteRecord> waiting_;
    std::unique_ptr<decorators::DryRunPlatform> platform_;
};

/// One write as programs read it.
[[nodiscard]] Json ObjectOf(const WriteRecord& write);

}  // namespace kel::frontend
