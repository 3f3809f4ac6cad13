// The part that all interface objects of the layer have in common: identity and reference count.

#pragma once

#include <windows.h>

#include <atomic>
#include <typeinfo>

#include "platform/com/table.h"
#include "platform/core/call.h"
#include "platform/core/objects.h"

namespace com {

// The base of an object of the class `Self`, which the program knows as an `Interface`. It answers
// to IID_IUnknown and to `ids`, the identifiers of `Interface` and of its bases. `Self` sets its
// methods in `static void fill(Table&)`. Its first reference belongs to its maker, and every
// reference counts as an open object.
template <typename Self, typename Interface, const IID&... ids>
class ComObject {
public:
    ComObject() { desktop::opened("ComReference"); }
    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;
    // An object whose construction failed still has its first reference.
    ~ComObject() {
        if (references > 0) desktop::closed("ComReference");
    }

    Interface* published() { return reinterpret_cast<Interface*>(this); }

    HRESULT QueryInterface(REFIID id, void** object) {
        desktop::Call call("QueryInterface", id);
        *object = nullptr;
        if (call.struck()) return call.fail(E_NOINTERFACE);
        if (!(id == IID_IUnknown || ... || (id == ids))) return E_NOINTERFACE;
        AddRef();
        *object = this;
        return S_OK;
    }

    ULONG AddRef() {
        desktop::opened("ComReference");
        return ++references;
    }

    ULONG Release() {
        desktop::logRelease(table->interfaceName);
        return drop();
    }

    // Releases a reference that the layer holds.
    ULONG drop() {
        desktop::closed("ComReference");
        const ULONG left = --references;
        if (left == 0) delete static_cast<Self*>(this);
        return left;
    }

    static void fill(Table&) {}
    static const Table& tableOfClass() {
        static const Table filled = [] {
            Table table(typeid(Interface).name());
            table.set<static_cast<HRESULT (IUnknown::*)(REFIID, void**)>(&IUnknown::QueryInterface),
                      &Self::QueryInterface>();
            table.set<&IUnknown::AddRef, &ComObject::AddRef>();
            table.set<&IUnknown::Release, &ComObject::Release>();
            Self::fill(table);
            return table;
        }();
        return filled;
    }

private:
    const Table* const table = &tableOfClass();  // First, as in every published interface.
    std::atomic<ULONG> references = 1;
};

// The object of a class of the layer that the program passes to it. Any other stops the process.
template <typename Object>
Object* objectOf(IUnknown* pointer) {
    const Table* const table = *reinterpret_cast<const Table* const*>(pointer);
    if (table != &Object::tableOfClass())
        desktop::refuse(table->interfaceName, "object of another kind", 0);
    return reinterpret_cast<Object*>(pointer);
}

}  // namespace com
