// The embedded desktop: everything that a display would know, in one record.
//
// The user-interface thread, the recording's thread and the threads that act as a person all come
// here, so every function takes the record's mutex. None of them calls out while it holds it.

#pragma once

#include <condition_variable>
#include <chrono>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "platform/control.h"
#include "platform/gdi32/canvas.h"
#include "platform/hosts/host.h"

namespace memory {

struct Surface {
    host::Placement placement;
    bool visible = false;
    std::vector<std::uint32_t> pixels;
    int width = 0,
        height = 0;  // of the pixels; the surface is not seen while they do not fit its bounds
};

struct Desktop {
    Desktop();

    std::mutex mutex;

    // monitor.cpp
    std::vector<host::Monitor> monitors;
    std::uintptr_t nextMonitor = 1;
    RECT bounds{};                       // of all monitors
    std::vector<std::uint32_t> picture;  // of the bounds, without any window
    bool locked = false;

    // picture.cpp
    std::condition_variable pictureChanged;
    std::uint64_t version = 1;     // grows with every change that a capture can see
    std::uint64_t generation = 1;  // grows when running captures are lost
    std::uint64_t seenVersion = 0, seenGeneration = 0;
    int pointerFrames = 0;  // still to come, before the next image

    // surface.cpp
    std::map<host::Surface, Surface> surfaces;
    std::vector<host::Surface> order;  // lowest first
    host::Surface nextSurface = 1;
    host::Surface focused = 0;

    // input.cpp
    std::deque<host::Event> events;
    int eventDescriptor = -1;
    POINT pointer{};
    std::set<UINT> keysDown;
    std::set<UINT> pressesTaken;  // keys that are down and whose press the program took
    std::set<std::pair<UINT, UINT>> hotKeysOfOthers;
    std::vector<desktop::PassedInput> passed;

    // clipboard.cpp
    bool clipboardHeld = false;

    // tray.cpp
    std::optional<host::TrayIcon> trayIcon;
    std::optional<host::Balloon> balloon;
    std::chrono::steady_clock::time_point balloonUntil{};
};

Desktop& theDesktop();

// With the mutex held:
void queueEvent(Desktop& desktop, host::Event event);
void notePicture(Desktop& desktop);  // a capture would see something new

// Both write to the rows whose first pixel is the corner of `area`: what the monitors show without
// windows, and then the surfaces over it.
void composeMonitors(const Desktop& desktop, const RECT& area, std::uint8_t* target, int pitch);
void composeSurfaces(const Desktop& desktop, const RECT& area, std::uint8_t* target, int pitch,
                     bool forCapture);

}  // namespace memory
