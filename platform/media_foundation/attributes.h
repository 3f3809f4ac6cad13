// Attribute stores: lists of keys with a number or an identifier each.

#pragma once

#include <mfobjects.h>

#include <optional>
#include <utility>
#include <variant>
#include <vector>

#include "platform/core/call.h"
#include "platform/com/object.h"

namespace media {

using Value = std::variant<UINT32, UINT64, GUID>;

struct AttributeValues {
    void set(REFGUID key, Value value);
    const Value* find(REFGUID key) const;  // null if the key was never set

    std::vector<std::pair<GUID, Value>> list;
};

template <typename Self, typename Interface, const IID&... ids>
struct AttributeStore : com::ComObject<Self, Interface, ids...> {
    HRESULT SetUINT32(REFGUID key, UINT32 value) {
        desktop::Call call("IMFAttributes::SetUINT32", key, value);
        return store(call, key, value);
    }
    HRESULT SetUINT64(REFGUID key, UINT64 value) {
        desktop::Call call("IMFAttributes::SetUINT64", key, value >> 32, value & 0xFFFFFFFF);
        return store(call, key, value);
    }
    HRESULT SetGUID(REFGUID key, REFGUID value) {
        desktop::Call call("IMFAttributes::SetGUID", key, value);
        return store(call, key, value);
    }

    static void fill(com::Table& table) {
        table.set(&IMFAttributes::SetUINT32, com::member<&AttributeStore::SetUINT32>);
        table.set(&IMFAttributes::SetUINT64, com::member<&AttributeStore::SetUINT64>);
        table.set(&IMFAttributes::SetGUID, com::member<&AttributeStore::SetGUID>);
    }

    AttributeValues values;

private:
    HRESULT store(desktop::Call& call, REFGUID key, Value value) {
        if (call.struck()) return call.result(E_OUTOFMEMORY);
        values.set(key, value);
        return S_OK;
    }
};

struct Attributes : AttributeStore<Attributes, IMFAttributes, IID_IMFAttributes> {};
struct MediaType : AttributeStore<MediaType, IMFMediaType, IID_IMFAttributes, IID_IMFMediaType> {};

}  // namespace media
