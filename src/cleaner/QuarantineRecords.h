// What a step of the cleaning took, of whatever kind.
#pragma once

#include <memory>
#include <variant>

#include "core/Collection.h"

namespace kel {

class QThreatLocationFile;
class QThreatLocationFolder;
class QThreatLocationRegKey;
class QThreatLocationSpecial;

template <class Location>
using QuarantineLocations = Collection<std::shared_ptr<Location>>;

/// One record of a collection that holds several kinds.
using QuarantineRecord = std::variant<std::shared_ptr<QThreatLocationFile>, std::shared_ptr<QThreatLocationFolder>,
                                      std::shared_ptr<QThreatLocationRegKey>, std::shared_ptr<QThreatLocationSpecial>>;
using QuarantineRecords = Collection<QuarantineRecord>;

}  // namespace kel
