// Collections of text as what matchers take.
#pragma once

#include <string>
#include <vector>

#include "core/Collection.h"

namespace kel::test {

inline std::vector<std::string> Items(const Collection<std::string>& list) {
    std::vector<std::string> items;
    for (const std::string& item : list) {
        items.push_back(item);
    }
    return items;
}

}  // namespace kel::test
