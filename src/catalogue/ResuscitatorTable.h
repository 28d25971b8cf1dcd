// The table of programs that start removed threats again.
#pragma once

#include <memory>

#include "catalogue/clsResuscitator.h"
#include "core/Collection.h"

namespace kel {

/// What a hash of fewer than 32 characters is. Longer ones are cut.
enum class ShortHash {
    Stands,
    IsNone,
};

/// Appends the rows of `kelRes.sdb` in the program's folder; none when it is not there. The first row that can't be
/// read ends it with its error; the rows before it stay.
void ReadResuscitators(ShortHash shortHash, Collection<std::shared_ptr<clsResuscitator>>& into);

}  // namespace kel
