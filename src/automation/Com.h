// What every unit of the automation server includes of the platform, and owned interface pointers.
#pragma once

#include <windows.h>
// After windows.h.
#include <ocidl.h>
#include <ole2.h>
#include <oleauto.h>
#include <olectl.h>

#include <utility>

namespace kel::automation {

/// An owned reference to an interface; null when it is empty.
template <class Interface>
class ComPtr {
public:
    ComPtr() = default;
    ComPtr(std::nullptr_t) {}
    /// Takes a reference of its own.
    explicit ComPtr(Interface* pointer) : pointer_(pointer) {
        if (pointer_ != nullptr) {
            pointer_->AddRef();
        }
    }
    ComPtr(const ComPtr& other) : ComPtr(other.pointer_) {}
    ComPtr(ComPtr&& other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}
    ComPtr& operator=(ComPtr other) noexcept {
        std::swap(pointer_, other.pointer_);
        return *this;
    }
    ~ComPtr() {
        if (pointer_ != nullptr) {
            pointer_->Release();
        }
    }

    /// Takes over the caller's reference.
    static ComPtr Adopt(Interface* pointer) {
        ComPtr owned;
        owned.pointer_ = pointer;
        return owned;
    }

    [[nodiscard]] Interface* Get() const { return pointer_; }
    Interface* operator->() const { return pointer_; }
    explicit operator bool() const { return pointer_ != nullptr; }
    /// For calls that fill a pointer: what was there is released first.
    [[nodiscard]] Interface** Out() {
        *this = ComPtr();
        return &pointer_;
    }
    /// Hands the reference over to the caller.
    [[nodiscard]] Interface* Detach() { return std::exchange(pointer_, nullptr); }

    /// Another interface of the object; empty when it has none.
    template <class Other>
    [[nodiscard]] ComPtr<Other> As() const {
        ComPtr<Other> other;
        if (pointer_ != nullptr) {
            pointer_->QueryInterface(__uuidof(Other), reinterpret_cast<void**>(other.Out()));
        }
        return other;
    }

private:
    Interface* pointer_ = nullptr;
};

}  // namespace kel::automation
