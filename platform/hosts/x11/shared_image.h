// Pixels in memory that this process and the display both see.

#pragma once

#include <xcb/shm.h>
#include <xcb/xcb.h>

#include <cstdint>
#include <memory>

#include <windows.h>

namespace host::x11 {

struct SharedImage {
    SharedImage(xcb_connection_t* connection, xcb_shm_seg_t attached,
                const std::shared_ptr<std::uint32_t[]>& mapped, int wide, int high);
    ~SharedImage();
    SharedImage(const SharedImage&) = delete;
    SharedImage& operator=(const SharedImage&) = delete;

    // Fills the rows from `first` up to `end` with what the screen shows there when the image lies
    // at `left`, `top`. False if the display does not answer or the place is not on the screen.
    bool fetch(xcb_window_t root, int left, int top, int first, int end);
    bool fetch(xcb_window_t root, int left, int top) { return fetch(root, left, top, 0, height); }
    // Puts the whole image into a window of the screen's depth. The pixels must stay as they are
    // until the server has carried it out.
    void put(xcb_window_t window, xcb_gcontext_t context, std::uint8_t depth) const;

    const int width, height;
    const std::shared_ptr<std::uint32_t[]> memory;  // may outlive the image, and the connection
    std::uint32_t* const pixels = memory.get();

private:
    xcb_connection_t* const server;
    const xcb_shm_seg_t segment;
};

// Null if the memory cannot be had or the display cannot share it. Waits for the display's answer.
std::unique_ptr<SharedImage> shareImage(xcb_connection_t* connection, int width, int height);

}  // namespace host::x11
