// The part that all interface objects of the layer have in common: identity and reference count.

#pragma once

#include <windows.h>

#include <atomic>
#include <typeinfo>

#include "platform/desktop/call.h"
#include "platform/desktop/objects.h"

namespace ole32 {

// An object that answers to IID_IUnknown and to `ids`, which must all lie on the one line of bases
// of `Interface`. It is born with one reference, which belongs to whoever made it, and every
// reference counts as an open object.
template <typename Interface, const IID&... ids>
struct ComObject : Interface {
    ComObject() { desktop::opened(desktop::Object::ComReference); }
    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;
    // An object whose construction failed still has its first reference.
    virtual ~ComObject() {
        if (references > 0) desktop::closed(desktop::Object::ComReference);
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
        desktop::Call call("QueryInterface", id);
        *object = nullptr;
        if (call.struck()) return call.result(E_NOINTERFACE);
        if (!(id == IID_IUnknown || ... || (id == ids))) return E_NOINTERFACE;
        AddRef();
        *object = static_cast<Interface*>(this);
        return S_OK;
    }

    ULONG STDMETHODCALLTYPE AddRef() override {
        desktop::opened(desktop::Object::ComReference);
        return ++references;
    }

    ULONG STDMETHODCALLTYPE Release() override {
        // The compiler's own name of a type at file level: its length, then its letters.
        const char* name = typeid(Interface).name();
        while (*name >= '0' && *name <= '9') ++name;
        desktop::logRelease(name);
        return drop();
    }

    // Releases a reference that the layer holds.
    ULONG drop() {
        desktop::closed(desktop::Object::ComReference);
        const ULONG left = --references;
        if (left == 0) delete this;
        return left;
    }

private:
    std::atomic<ULONG> references = 1;
};

}  // namespace ole32
