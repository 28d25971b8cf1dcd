#include "WinePrefix.h"

#include <algorithm>
#include <cstdlib>

namespace kel::test {

bool Succeeds(const std::string& command) {
    return std::system(("{ " + command + "; } >/dev/null 2>&1 </dev/null").c_str()) == 0;
}

std::unique_ptr<WinePrefix> WinePrefix::Make(const std::string& version) {
    if (!Succeeds("wine --version")) {
        return nullptr;
    }
    auto prefix = std::make_unique<WinePrefix>();
    const std::string script = KEL_SOURCE_DIR "/scripts/wine-prefix";
    return Succeeds(script + " " + prefix->Folder().string() + " " + version) ? std::move(prefix) : nullptr;
}

WinePrefix::~WinePrefix() {
    Stop();
}

// Wine's services keep the output of whoever started them open: so it goes to a file.
std::string WinePrefix::Run(const std::string& command) const {
    const std::filesystem::path out = scratch_.Folder() / "out";
    std::system(("cd " + (Folder() / "drive_c").string() + " && WINEPREFIX=" + Folder().string() +
                 " WINEDEBUG=-all WINEDLLOVERRIDES='winemenubuilder.exe=d' timeout 120 wine " + command + " >" +
                 out.string() + " 2>/dev/null </dev/null")
                    .c_str());
    std::string text = Get(out);
    std::erase(text, '\r');
    return text;
}

void WinePrefix::Stop() const {
    Succeeds("WINEPREFIX=" + Folder().string() + " wineserver -k; WINEPREFIX=" + Folder().string() +
             " timeout 60 wineserver -w");
}

}  // namespace kel::test
