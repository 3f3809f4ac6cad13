// A counted reference to a COM interface.

#pragma once

#include <windows.h>

#include <utility>

template <typename Interface>
struct ComPointer {
    ComPointer() = default;
    ComPointer(const ComPointer& other) : held(other.held) {
        if (held) held->AddRef();
    }
    ComPointer(ComPointer&& other) noexcept : held(std::exchange(other.held, nullptr)) {}
    ComPointer& operator=(ComPointer other) noexcept {
        std::swap(held, other.held);
        return *this;
    }
    ~ComPointer() { reset(); }

    Interface* get() const { return held; }
    Interface* operator->() const { return held; }
    explicit operator bool() const { return held != nullptr; }

    // Lets go of what is held, then hands out the address for an operation that returns an
    // interface there.
    Interface** put() {
        reset();
        return &held;
    }
    void** putUntyped() { return reinterpret_cast<void**>(put()); }

    // The member is cleared before the release: a release can run code that looks here again.
    void reset() {
        if (Interface* const leaving = std::exchange(held, nullptr)) leaving->Release();
    }

    // Another interface of the same object; `target` stays empty on failure.
    template <typename Other>
    HRESULT query(const IID& id, ComPointer<Other>& target) const {
        return held->QueryInterface(id, target.putUntyped());
    }

private:
    Interface* held = nullptr;
};
