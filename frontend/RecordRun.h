// What a command over records works with.
#pragma once

#include "frontend/DataSession.h"
#include "frontend/RecordOptions.h"
#include "frontend/RecordReport.h"

namespace kel::frontend {

struct RecordRun {
    const RecordOptions& options;
    DataSession& session;
    RecordReport& report;
};

}  // namespace kel::frontend
