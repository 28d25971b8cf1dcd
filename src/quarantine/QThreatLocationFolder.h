#pragma once

#include <string>

namespace kel {

/// One folder that was removed.
class QThreatLocationFolder {
public:
    std::string OriginalFolderPath;
};

}  // namespace kel
