// Pixels in memory that this process and the display both see.

#include "platform/hosts/x11/shared_image.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

namespace host::x11 {

SharedImage::SharedImage(xcb_connection_t* connection, int wide, int high)
    : width(wide), height(high), server(connection) {
    // Memory without a name: nothing is left behind whichever way the process ends.
    const int descriptor = memfd_create("picture", MFD_CLOEXEC);
    if (descriptor < 0 || ftruncate(descriptor, static_cast<off_t>(size())) != 0) {
        if (descriptor >= 0) close(descriptor);
        throw std::runtime_error("No memory for a picture of the screen");
    }
    void* const mapped = mmap(nullptr, size(), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    if (mapped == MAP_FAILED) {
        close(descriptor);
        throw std::runtime_error("Cannot map a picture of the screen");
    }
    pixels = static_cast<std::uint32_t*>(mapped);
    memory = {pixels, [bytes = size()](std::uint32_t* gone) { munmap(gone, bytes); }};
    segment = xcb_generate_id(server);
    xcb_shm_attach_fd(server, segment, descriptor, 0);  // closes it
}

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
