#include "frontend/CleanRecords.h"

namespace kel::frontend {

const char* NameOf(CleanItem::Result result) {
    switch (result) {
        case CleanItem::Result::Removed:
            return "removed";
        case CleanItem::Result::Absent:
            return "absent";
        case CleanItem::Result::Deleted:
            return "deleted";
        case CleanItem::Result::Untouched:
            return "untouched";
        default:
            return "left";
    }
}

const char* NameOf(CleanRecord::Result result) {
    switch (result) {
        case CleanRecord::Result::Cleaned:
            return "cleaned";
        case CleanRecord::Result::Partial:
            return "partial";
        case CleanRecord::Result::NotDetected:
            return "not_detected";
        case CleanRecord::Result::Skipped:
            return "skipped";
        default:
            return "failed";
    }
}

}  // namespace kel::frontend
