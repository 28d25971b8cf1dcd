#include "core/EngineState.h"

#include <array>
#include <utility>

#include "core/RuntimeError.h"
#include "core/Unnoticed.h"
#include "platform/Platform.h"

namespace kel {

namespace {

struct ScopeData {
    EngineState state;
    bool scanAbortFlag = false;
    std::int16_t lastOptionalScan = 0;
    std::int16_t optMaxOptionLevel = 0;
    std::int32_t optMaxMD5Len = 0;
    bool unnoticed = false;
    std::unordered_map<std::type_index, std::shared_ptr<void>> modules;
    // Of the modules those that were asked for last, by the address of their type's name; equal types may have several.
    struct Recent {
        const char* name = nullptr;
        void* slot = nullptr;
    };
    std::array<Recent, 64> recent;
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
    ScopeData& data = Data();
    const char* const name = type.name();
    const auto address = reinterpret_cast<std::uintptr_t>(name);
    ScopeData::Recent& recent = data.recent[(address ^ address >> 6) % data.recent.size()];
    if (recent.name != name) {
        std::shared_ptr<void>& slot = data.modules[type];
        if (!slot) {
            slot = make();
        }
        recent = {name, slot.get()};
    }
    return recent.slot;
}

Unnoticed::Unnoticed() : outer_(std::exchange(Data().unnoticed, true)) {
}

Unnoticed::~Unnoticed() {
    Data().unnoticed = outer_;
}

bool Unnoticed::Active() {
    return kel::Active() != nullptr && kel::Active()->unnoticed;
}

void DoEvents() {
    if (!Unnoticed::Active()) {
        platform::Current().loop->DoEvents();
    }
}

}  // namespace kel
