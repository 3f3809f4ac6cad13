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

    // Releases the reference and returns the address, for an operation that stores an interface
    // there.
    Interface** put() {
        reset();
        return &held;
    }
    void** putUntyped() { return reinterpret_cast<void**>(put()); }

    // Cleared before Release, which can run code that uses this object.
    void reset() {
        if (Interface* const leaving = std::exchange(held, nullptr)) leaving->Release();
    }

    // Stores another interface of the same object in `target`, which is null on failure.
    template <typename Other>
    HRESULT query(const IID& id, ComPointer<Other>& target) const {
        return held->QueryInterface(id, target.putUntyped());
    }

private:
    Interface* held = nullptr;
};
