#include "system/modCommon.h"

#include "core/Failures.h"
#include "system/SpecialFolders.h"

namespace kel::modCommon {

std::string PathLocalAppData() {
    std::string result;
    Trap("modCommon", "PathLocalAppData",
         [&] { result = folders::Find(folders::RowOf(&clsFolderPaths::PathLocalAppData)); });
    return result;
}

}  // namespace kel::modCommon
