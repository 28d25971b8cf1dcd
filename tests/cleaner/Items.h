// Collections as what matchers take.
#pragma once

#include <vector>

#include "core/Collection.h"

namespace kel::test {

template <class T>
std::vector<T> Items(const Collection<T>& collection) {
    std::vector<T> items;
    for (const T& item : collection) {
        items.push_back(item);
    }
    return items;
}

}  // namespace kel::test
