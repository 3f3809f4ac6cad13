// Finds a resource in the compiled block, and makes icons: a group names its images, each of them a
// PNG.

#include "platform/user32/resources.h"

#include <iterator>
#include <map>

#include "platform/core/call.h"
#include "platform/core/objects.h"
#include "platform/gdi32/canvas.h"
#include "platform/user32/window.h"

namespace user32 {

namespace {

desktop::HandleTable<HICON, Icon> icons(0x24000000);

using Bytes = std::span<const std::uint8_t>;

// What an entry begins with; 0xFFFF says that a number follows, and no other names are in use.
struct EntryHead {
    DWORD dataSize, headSize;
    WORD typeMark, type, idMark, id;
};

cairo_status_t readBytes(void* closure, unsigned char* target, unsigned int length) {
    Bytes& rest = *static_cast<Bytes*>(closure);
    if (length > rest.size()) return CAIRO_STATUS_READ_ERROR;
    std::memcpy(target, rest.data(), length);
    rest = rest.subspan(length);
    return CAIRO_STATUS_SUCCESS;
}

std::uintptr_t numberOf(const desktop::Call& call, LPCWSTR name) {
    if (!IS_INTRESOURCE(name)) call.refuse("name that is text", 1);
    return reinterpret_cast<std::uintptr_t>(name);
}

HICON loadIcon(desktop::Call& call, LPCWSTR name, int side, bool shared) {
    const std::uintptr_t id = numberOf(call, name);
    if (call.struck() || findResource(RT_GROUP_ICON, id).empty())
        return call.fail(ERROR_RESOURCE_NAME_NOT_FOUND);
    for (const auto& [handle, icon] : icons.records)
        if (shared && icon.shared && icon.id == id && icon.side == side)
            return reinterpret_cast<HICON>(handle);
    if (!shared) desktop::opened("Icon");
    return icons.add({id, side, shared});
}

}  // namespace

Bytes findResource(const WCHAR* type, std::uintptr_t id) {
    const Bytes block(resourceBlock, resourceBlockSize);
    for (Reader reader{block}; reader.at < block.size(); reader.align()) {
        const std::size_t start = reader.at;
        const auto head = reader.take<EntryHead>();
        reader.at = start + head.headSize + head.dataSize;
        if (head.type == reinterpret_cast<std::uintptr_t>(type) && head.id == id)
            return block.subspan(start + head.headSize, head.dataSize);
    }
    return {};
}

const Icon* findIcon(HICON icon) { return icons.find(icon); }

host::IconImage iconImage(std::uintptr_t id, int side) {
    std::map<int, WORD> images;  // their numbers by their sides
    const Bytes group = findResource(RT_GROUP_ICON, id);
    for (Reader reader{group, 6}; reader.at < group.size();) {
        const int width = reader.take<BYTE>();
        reader.at += 11;
        images[width ? width : 256] = reader.take<WORD>();
    }
    if (images.empty()) return {};
    auto best = images.upper_bound(side);
    if (best != images.begin()) --best;
    Bytes png = findResource(RT_ICON, best->second);
    const gdi::CairoSurface image(cairo_image_surface_create_from_png_stream(readBytes, &png));
    const auto* const pixels =
        reinterpret_cast<const std::uint32_t*>(cairo_image_surface_get_data(image.get()));
    const int drawn = cairo_image_surface_get_width(image.get());
    return {{pixels, pixels + drawn * drawn}, drawn};
}

}  // namespace user32

using namespace user32;

HICON LoadIconW(HINSTANCE instance, LPCWSTR name) {
    desktop::Call call("LoadIconW", instance, name);
    enterUserInterface();
    return loadIcon(call, name, gdi::scaled(32, primaryMonitor().dpi), true);
}

// A cursor of the system is known by its number, which serves as its handle.
HCURSOR LoadCursorW(HINSTANCE instance, LPCWSTR name) {
    desktop::Call call("LoadCursorW", instance, name);
    const std::uintptr_t id = numberOf(call, name);
    if (instance || name != IDC_CROSS) call.refuse("cursor", id);
    if (call.struck()) return call.fail(ERROR_RESOURCE_NAME_NOT_FOUND);
    return reinterpret_cast<HCURSOR>(id);
}

HANDLE LoadImageW(HINSTANCE instance, LPCWSTR name, UINT kind, int width, int height, UINT flags) {
    desktop::Call call("LoadImageW", instance, name, kind, width, height, flags);
    enterUserInterface();
    call.only("kind", kind, IMAGE_ICON);
    call.within("flags", flags, UINT{LR_SHARED});
    if (width != height || width <= 0) call.refuse("size", width);
    return loadIcon(call, name, width, flags & LR_SHARED);
}

BOOL DestroyIcon(HICON icon) {
    desktop::Call call("DestroyIcon", icon);
    const Icon* const found = findIcon(icon);
    if (!found || found->shared) return call.fail(ERROR_INVALID_CURSOR_HANDLE);
    icons.remove(icon);
    desktop::closed("Icon");
    return TRUE;
}
