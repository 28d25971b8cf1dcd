#include "automation/Identity.h"

#include <cstring>
#include <functional>
#include <map>
#include <utility>

namespace kel::automation {

namespace {

struct ByBytes {
    bool operator()(const IID& left, const IID& right) const { return std::memcmp(&left, &right, sizeof left) < 0; }
};

using Key = std::pair<const void*, IID>;
struct ByKey {
    bool operator()(const Key& left, const Key& right) const {
        return left.first != right.first ? std::less<>()(left.first, right.first)
                                         : ByBytes()(left.second, right.second);
    }
};

// Two things may lie at one address, one being the first member of the other.
std::map<Key, IUnknown*, ByKey>& Objects() {
    static std::map<Key, IUnknown*, ByKey> objects;
    return objects;
}

}  // namespace

IUnknown* FindObject(const void* thing, const IID& interfaceId) {
    const auto found = Objects().find({thing, interfaceId});
    return found == Objects().end() ? nullptr : found->second;
}

void EnterObject(const void* thing, const IID& interfaceId, IUnknown* object) {
    Objects()[{thing, interfaceId}] = object;
}

void LeaveObject(const void* thing, const IID& interfaceId) {
    Objects().erase({thing, interfaceId});
}

LONG LiveObjects() {
    return static_cast<LONG>(Objects().size());
}

}  // namespace kel::automation
