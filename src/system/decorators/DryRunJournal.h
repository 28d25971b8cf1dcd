// What a dry run would have changed, told to whoever wants to know.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "decorators/DryRunPlatform.h"

namespace kel::decorators {

class DryRunJournal {
public:
    explicit DryRunJournal(DryRunPlatform::Listener listener) : listener_(std::move(listener)) {}

    /// Puts the record's text together and hands it on.
    void Add(WriteKind kind, std::string_view target = {}, std::string_view other = {}) const;

private:
    DryRunPlatform::Listener listener_;
};

}  // namespace kel::decorators
