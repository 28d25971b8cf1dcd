#include "core/EngineState.h"

#include <utility>

#include "core/RuntimeError.h"
#include "platform/Platform.h"

namespace kel {

namespace {

struct ScopeData {
    EngineState state;
    bool scanAbortFlag = false;
    std::int16_t lastOptionalScan = 0;
    std::int16_t optMaxOptionLevel = 0;
    std::int32_t optMaxMD5Len = 0;
    std::unordered_map<std::type_index, std::shared_ptr<void>> modules;
};

ScopeData*& Active() {
    static ScopeData* active = nullptr;
    return active;
}

ScopeData& Data() {
    if (Active() == nullptr) {
        Raise(ErrObjectNotSet, "EngineState");
    }
    return *Active();
}

}  // namespace

struct EngineScope::Impl {
    ScopeData data;
    ScopeData* previous = nullptr;
};

EngineScope::EngineScope() : impl_(std::make_unique<Impl>()) {
    impl_->previous = std::exchange(Active(), &impl_->data);
}

EngineScope::~EngineScope() {
    Active() = impl_->previous;
}

EngineState& State() {
    return Data().state;
}

bool& ScanAbortFlag() {
    return Data().scanAbortFlag;
}

std::int16_t& LastOptionalScan() {
    return Data().lastOptionalScan;
}

std::int16_t& OptMaxOptionLevel() {
    return Data().optMaxOptionLevel;
}

std::int32_t& OptMaxMD5Len() {
    return Data().optMaxMD5Len;
}

void* ModuleSlot(std::type_index type, std::shared_ptr<void> (*make)()) {
    std::shared_ptr<void>& slot = Data().modules[type];
    if (!slot) {
        slot = make();
    }
    return slot.get();
}

void DoEvents() {
    platform::Current().loop->DoEvents();
}

}  // namespace kel
