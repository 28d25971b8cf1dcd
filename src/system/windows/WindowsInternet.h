#pragma once

#include "platform/Internet.h"

namespace kel::windows {

class WindowsInternet final : public platform::Internet {
public:
    platform::SysError Download(std::string_view url, std::string_view path) override;
};

}  // namespace kel::windows
