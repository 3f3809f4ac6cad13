// Attribute stores, media types among them, and what the layer reads from them.

#pragma once

#include <mfobjects.h>

#include <utility>
#include <variant>
#include <vector>

#include "platform/com/object.h"
#include "platform/core/call.h"
#include "platform/media_foundation/encoder.h"

namespace media {

using Value = std::variant<UINT32, UINT64, GUID>;
using AttributeValues = std::vector<std::pair<GUID, Value>>;

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
        table.set<&IMFAttributes::SetUINT32, &AttributeStore::SetUINT32>();
        table.set<&IMFAttributes::SetUINT64, &AttributeStore::SetUINT64>();
        table.set<&IMFAttributes::SetGUID, &AttributeStore::SetGUID>();
    }

    AttributeValues values;

private:
    HRESULT store(desktop::Call& call, REFGUID key, const Value& value) {
        if (call.struck()) return call.fail(E_OUTOFMEMORY);
        std::erase_if(values, [&](const auto& each) { return each.first == key; });
        values.emplace_back(key, value);
        return S_OK;
    }
};

struct Attributes : AttributeStore<Attributes, IMFAttributes, IID_IMFAttributes> {};
struct MediaType : AttributeStore<MediaType, IMFMediaType, IID_IMFAttributes, IID_IMFMediaType> {};

// Each stops the process at an unknown attribute or value, and throws Failure
// (MF_E_INVALIDMEDIATYPE) if one is missing.
void checkWriterAttributes(AttributeValues attributes);
// An H.264 or an NV12 type; the latter has the bit rate 0. Throws Failure, too, for a size that
// cannot be encoded.
VideoFormat readOutputType(AttributeValues type);
VideoFormat readInputType(AttributeValues type);

}  // namespace media
