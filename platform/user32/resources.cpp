// Finds a resource in the compiled block, and makes icons: a group names its images, each of them a
// PNG.
//
// An entry is: size of the data, size of the header, type, name (each 0xFFFF and a number, or text
// up to a zero), padding, sixteen bytes of no interest here, the data, padding. Everything starts
// at a multiple of four.

#include "platform/user32/resources.h"

#include <cstring>
#include <iterator>
#include <map>
#include <optional>

#include "platform/core/call.h"
#include "platform/core/objects.h"
#include "platform/gdi32/canvas.h"
#include "platform/user32/window.h"

namespace user32 {

namespace {

desktop::HandleTable<HICON, Icon> icons(0x24000000);

using Bytes = std::span<const std::uint8_t>;

template <typename Number>
Number numberAt(Bytes bytes, std::size_t at) {
    Number number{};
    if (at + sizeof number <= bytes.size()) std::memcpy(&number, bytes.data() + at, sizeof number);
    return number;
}

std::size_t padded(std::size_t at) { return (at + 3) & ~std::size_t{3}; }

// Reads a type or name and moves `at` past it; 0 for one that is text.
std::uint16_t takeName(Bytes bytes, std::size_t& at) {
    if (numberAt<std::uint16_t>(bytes, at) == 0xFFFF) {
        at += 4;
        return numberAt<std::uint16_t>(bytes, at - 2);
    }
    while (at + 2 <= bytes.size() && numberAt<std::uint16_t>(bytes, at) != 0) at += 2;
    at += 2;
    return 0;
}

// The numbers of a group's images, by their sides.
std::map<int, std::uintptr_t> imagesOf(Bytes group) {
    constexpr std::size_t header = 6, entry = 14;
    std::map<int, std::uintptr_t> images;
    for (std::size_t at = header; at + entry <= group.size(); at += entry)
        images[group[at] == 0 ? 256 : group[at]] = numberAt<std::uint16_t>(group, at + 12);
    return images;
}

cairo_status_t readBytes(void* closure, unsigned char* target, unsigned int length) {
    Bytes& rest = *static_cast<Bytes*>(closure);
    if (length > rest.size()) return CAIRO_STATUS_READ_ERROR;
    std::memcpy(target, rest.data(), length);
    rest = rest.subspan(length);
    return CAIRO_STATUS_SUCCESS;
}

std::vector<std::uint32_t> scaledPixels(cairo_surface_t* image, int side) {
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(side) *
                                      static_cast<std::size_t>(side));
    const gdi::Cairo context = gdi::cairoOn({pixels.data(), side, side, side}, CAIRO_FORMAT_ARGB32);
    const double scale = static_cast<double>(side) / cairo_image_surface_get_width(image);
    cairo_scale(context.get(), scale, scale);
    cairo_set_source_surface(context.get(), image, 0, 0);
    cairo_paint(context.get());
    return pixels;
}

// Made from the image that is to be scaled down least, or the largest one if all are too small.
std::optional<Icon> readIcon(std::uintptr_t id, int side) {
    const auto group = findResource(RT_GROUP_ICON, id);
    if (!group) return std::nullopt;
    const auto images = imagesOf(*group);
    const auto fitting = images.lower_bound(side);
    const auto best = fitting == images.end() ? std::prev(fitting) : fitting;
    auto image = findResource(RT_ICON, best->second);
    if (!image) return std::nullopt;
    const gdi::CairoSurface decoded(cairo_image_surface_create_from_png_stream(readBytes, &*image));
    if (cairo_surface_status(decoded.get()) != CAIRO_STATUS_SUCCESS) return std::nullopt;
    return Icon{side, scaledPixels(decoded.get(), side), false, id};
}

HICON loadIcon(std::uintptr_t id, int side, bool shared) {
    for (const auto& [handle, icon] : icons.records)
        if (shared && icon.shared && icon.id == id && icon.side == side)
            return reinterpret_cast<HICON>(handle);
    auto icon = readIcon(id, side);
    if (!icon) return nullptr;
    icon->shared = shared;
    if (!shared) desktop::opened("Icon");
    return icons.add(std::move(*icon));
}

std::uintptr_t numberOf(const desktop::Call& call, LPCWSTR name) {
    if (!IS_INTRESOURCE(name)) call.refuse("name that is text", 1);
    return reinterpret_cast<std::uintptr_t>(name);
}

}  // namespace

std::optional<Bytes> findResource(const WCHAR* type, std::uintptr_t id) {
    const Bytes block(resourceBlock, resourceBlockSize);
    for (std::size_t at = 0; at + 8 <= block.size();) {
        const std::size_t size = numberAt<std::uint32_t>(block, at);
        const std::size_t data = at + numberAt<std::uint32_t>(block, at + 4);
        if (data <= at || data + size > block.size()) break;
        std::size_t name = at + 8;
        const std::uint16_t entryType = takeName(block, name);
        const std::uint16_t entryId = takeName(block, name);
        if (entryType == reinterpret_cast<std::uintptr_t>(type) && entryId == id)
            return block.subspan(data, size);
        at = padded(data + size);
    }
    return std::nullopt;
}

const Icon* findIcon(HICON icon) { return icons.find(icon); }

host::IconImage drawnImage(std::uintptr_t id, int side) {
    const auto group = findResource(RT_GROUP_ICON, id);
    if (!group) return {};
    const auto images = imagesOf(*group);
    const auto larger = images.upper_bound(side);
    const int drawn = (larger == images.begin() ? larger : std::prev(larger))->first;
    auto icon = readIcon(id, drawn);
    return icon ? host::IconImage{std::move(icon->pixels), drawn} : host::IconImage{};
}

}  // namespace user32

using namespace user32;

HICON LoadIconW(HINSTANCE instance, LPCWSTR name) {
    desktop::Call call("LoadIconW", instance, name);
    const std::uintptr_t id = numberOf(call, name);
    enterUserInterface();
    const int side = gdi::scaled(32, primaryMonitor().dpi);
    const HICON icon = call.struck() ? nullptr : loadIcon(id, side, true);
    if (!icon) call.fail(ERROR_RESOURCE_NAME_NOT_FOUND);
    return icon;
}

// The system's own cursors are known by their numbers, which serve as handles.
HCURSOR LoadCursorW(HINSTANCE instance, LPCWSTR name) {
    desktop::Call call("LoadCursorW", instance, name);
    const std::uintptr_t id = numberOf(call, name);
    if (instance || (name != IDC_ARROW && name != IDC_CROSS)) call.refuse("cursor", id);
    if (call.struck()) return call.fail(ERROR_RESOURCE_NAME_NOT_FOUND);
    return reinterpret_cast<HCURSOR>(id);
}

HANDLE LoadImageW(HINSTANCE instance, LPCWSTR name, UINT kind, int width, int height, UINT flags) {
    desktop::Call call("LoadImageW", instance, name, kind, width, height, flags);
    const std::uintptr_t id = numberOf(call, name);
    enterUserInterface();
    call.only("kind", kind, IMAGE_ICON);
    call.within("flags", flags, UINT{LR_SHARED});
    if (width != height || width <= 0) call.refuse("size", width);
    const HICON icon = call.struck() ? nullptr : loadIcon(id, width, flags & LR_SHARED);
    if (!icon) call.fail(ERROR_RESOURCE_NAME_NOT_FOUND);
    return icon;
}

BOOL DestroyIcon(HICON icon) {
    desktop::Call call("DestroyIcon", icon);
    const Icon* const found = findIcon(icon);
    if (!found || found->shared) return call.fail(ERROR_INVALID_CURSOR_HANDLE);
    icons.remove(icon);
    desktop::closed("Icon");
    return TRUE;
}
