#include "frontend/ResultFile.h"

#include <cerrno>
#include <cstring>

namespace kel::frontend {

ResultFile::ResultFile(const std::string& name, std::FILE* standard)
    : own_(!name.empty()), stream_(own_ ? std::fopen(name.c_str(), "wb") : standard) {
    if (stream_ == nullptr) {
        problem_ = name + ": " + std::strerror(errno);
    }
}

ResultFile::~ResultFile() {
    if (own_ && stream_ != nullptr) {
        std::fclose(stream_);
    }
}

}  // namespace kel::frontend
