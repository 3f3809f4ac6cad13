// Attribute stores: lists of keys with a number or an identifier each.

#include "platform/media_foundation/attributes.h"

#include <mfapi.h>

#include <algorithm>

namespace media {

void AttributeValues::set(REFGUID key, Value value) {
    for (auto& [known, old] : list)
        if (known == key) {
            old = value;
            return;
        }
    list.emplace_back(key, value);
}

const Value* AttributeValues::find(REFGUID key) const {
    for (const auto& [known, value] : list)
        if (known == key) return &value;
    return nullptr;
}

}  // namespace media

HRESULT MFCreateAttributes(IMFAttributes** attributes, UINT32 initialSize) {
    desktop::Call call("MFCreateAttributes", initialSize);
    *attributes = nullptr;
    if (call.struck()) return call.result(E_OUTOFMEMORY);
    *attributes = (new media::Attributes)->published();
    return S_OK;
}

HRESULT MFCreateMediaType(IMFMediaType** type) {
    desktop::Call call("MFCreateMediaType");
    *type = nullptr;
    if (call.struck()) return call.result(E_OUTOFMEMORY);
    *type = (new media::MediaType)->published();
    return S_OK;
}
