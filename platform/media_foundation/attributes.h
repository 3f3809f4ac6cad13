// Attribute stores: lists of keys with a number or an identifier each.

#pragma once

#include <mfobjects.h>

#include <optional>
#include <utility>
#include <variant>
#include <vector>

#include "platform/desktop/call.h"
#include "platform/ole32/com_object.h"

namespace media {

using Value = std::variant<UINT32, UINT64, GUID>;

struct AttributeValues {
    void set(REFGUID key, Value value);
    const Value* find(REFGUID key) const;  // null if the key was never set

    std::vector<std::pair<GUID, Value>> list;
};

template <typename Interface, const IID&... ids>
struct AttributeStore : ole32::ComObject<Interface, ids...> {
    HRESULT STDMETHODCALLTYPE SetUINT32(REFGUID key, UINT32 value) override {
        desktop::Call call("IMFAttributes::SetUINT32", key, value);
        return store(call, key, value);
    }
    HRESULT STDMETHODCALLTYPE SetUINT64(REFGUID key, UINT64 value) override {
        desktop::Call call("IMFAttributes::SetUINT64", key, value >> 32, value & 0xFFFFFFFF);
        return store(call, key, value);
    }
    HRESULT STDMETHODCALLTYPE SetGUID(REFGUID key, REFGUID value) override {
        desktop::Call call("IMFAttributes::SetGUID", key, value);
        return store(call, key, value);
    }

    AttributeValues values;

private:
    HRESULT store(desktop::Call& call, REFGUID key, Value value) {
        if (call.struck()) return call.result(E_OUTOFMEMORY);
        values.set(key, value);
        return S_OK;
    }
};

using Attributes = AttributeStore<IMFAttributes, IID_IMFAttributes>;
using MediaType = AttributeStore<IMFMediaType, IID_IMFAttributes, IID_IMFMediaType>;

}  // namespace media
