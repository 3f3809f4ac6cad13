// Pixels in memory that this process and the display both see.

#include "platform/hosts/x11/shared_image.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>

#include "platform/core/descriptor.h"

namespace host::x11 {

std::unique_ptr<SharedImage> shareImage(xcb_connection_t* server, int width, int height) {
    const std::size_t size = std::size_t(width) * std::size_t(height) * 4;
    // Memory without a name: nothing is left behind whichever way the process ends.
    desktop::Descriptor file(memfd_create("picture", MFD_CLOEXEC));
    if (!file || ftruncate(file.get(), static_cast<off_t>(size)) != 0) return nullptr;
    void* const mapped = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    if (mapped == MAP_FAILED) return nullptr;
    const std::shared_ptr<std::uint32_t[]> memory(
        static_cast<std::uint32_t*>(mapped), [size](std::uint32_t* gone) { munmap(gone, size); });

    const xcb_shm_seg_t segment = xcb_generate_id(server);
    const xcb_void_cookie_t attached =
        xcb_shm_attach_fd_checked(server, segment, file.release(), 0);  // closes it
    xcb_generic_error_t* const refusal = xcb_request_check(server, attached);
    const bool isShared = !refusal && !xcb_connection_has_error(server);
    std::free(refusal);
    if (!isShared) return nullptr;
    return std::make_unique<SharedImage>(server, segment, memory, width, height);
}

SharedImage::SharedImage(xcb_connection_t* connection, xcb_shm_seg_t attached,
                         const std::shared_ptr<std::uint32_t[]>& mapped, int wide, int high)
    : width(wide), height(high), memory(mapped), server(connection), segment(attached) {}

SharedImage::~SharedImage() { xcb_shm_detach(server, segment); }

bool SharedImage::fetch(xcb_window_t root, int left, int top, int first, int end) {
    const xcb_shm_get_image_cookie_t cookie = xcb_shm_get_image(
        server, root, static_cast<std::int16_t>(left), static_cast<std::int16_t>(top + first),
        static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(end - first), ~0u,
        XCB_IMAGE_FORMAT_Z_PIXMAP, segment, static_cast<std::uint32_t>(first * width * 4));
    xcb_shm_get_image_reply_t* const reply = xcb_shm_get_image_reply(server, cookie, nullptr);
    const bool done = reply != nullptr;
    std::free(reply);
    return done;
}

void SharedImage::put(xcb_window_t window, xcb_gcontext_t context, std::uint8_t depth) const {
    const auto wide = static_cast<std::uint16_t>(width);
    const auto high = static_cast<std::uint16_t>(height);
    xcb_shm_put_image(server, window, context, wide, high, 0, 0, wide, high, 0, 0, depth,
                      XCB_IMAGE_FORMAT_Z_PIXMAP, 0, segment, 0);
}

}  // namespace host::x11
