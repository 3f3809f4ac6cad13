// The embedded desktop: everything that a display would know, in one record, and the host over it.
//
// The user-interface thread, the recording's thread and the threads that act as the user all use
// the record, so each use locks it. paintDesktop's painter and the tray icon's image are called
// under the lock and must not call back.

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
#include "platform/hosts/host.h"

namespace memory {

struct Surface {
    host::Placement placement;
    bool visible = false;
    std::vector<std::uint32_t> pixels;
    int width = 0, height = 0;  // of the pixels; while they do not fit the bounds, it is not seen
};

struct Desktop {
    Desktop();

    std::mutex mutex;

    // monitor.cpp
    std::vector<host::Monitor> monitors;
    std::uintptr_t nextMonitor = 1;
    RECT bounds{};                       // of all monitors
    std::vector<std::uint32_t> picture;  // of the bounds, without any window

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

    // tray.cpp
    std::optional<host::TrayIcon> trayIcon;
};

Desktop& theDesktop();

// The desktop, locked as long as this lives.
struct Locked {
    Desktop* operator->() const { return &desktop; }
    Desktop& operator*() const { return desktop; }

    Desktop& desktop = theDesktop();
    std::unique_lock<std::mutex> lock{desktop.mutex};
};

void openEvents(Desktop& desktop);
void queueEvent(Desktop& desktop, const host::Event& event);
RECT workArea(const Desktop& desktop);
RECT iconArea(const Desktop& desktop);
void noteChange(Desktop& desktop);  // a capture would see something new

struct Host final : host::Host {
    std::string session() override;

    int eventDescriptor() override;
    bool nextEvent(host::Event& event) override;
    void finishInput(const host::Event& event, bool taken) override;

    std::vector<host::Monitor> monitors() override;
    POINT pointer() override;
    bool keyIsDown(UINT key) override;
    bool grabHotKey(UINT modifiers, UINT key) override;
    bool hasTaskbar() override { return true; }

    host::Surface createSurface(const std::u16string& title) override;
    void destroySurface(host::Surface surface) override;
    void showSurface(host::Surface surface, const host::Placement& placement, bool raise) override;
    void presentSurface(host::Surface surface, const gdi::Canvas& canvas) override;
    void hideSurface(host::Surface surface) override;
    bool focusSurface(host::Surface surface) override;

    bool openPictures(std::uintptr_t monitor) override;
    host::PictureState waitForPicture(DWORD milliseconds) override;
    host::CapturedPicture readPicture(const RECT& area) override;

    void setTrayIcon(const host::TrayIcon* icon) override;
    RECT workArea() override;
};

}  // namespace memory
