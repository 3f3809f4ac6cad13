// The live display as a host, and what its parts offer each other.

#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <string>
#include <vector>

#include "platform/hosts/host.h"

namespace host::x11 {

struct X11Host final : Host {
    X11Host();  // throws std::runtime_error if the display cannot be opened

    std::string session() override;

    int eventDescriptor() override;
    bool nextEvent(Event& event) override;

    std::vector<Monitor> monitors() override;
    POINT pointer() override;
    bool keyIsDown(UINT key) override;
    bool grabHotKey(UINT modifiers, UINT key) override;
    void releaseHotKey(UINT modifiers, UINT key) override;
    bool grabKeys(KeyGrab keys) override;

    Surface createSurface(const std::u16string& title) override;
    void destroySurface(Surface surface) override;
    void showSurface(Surface surface, const Placement& placement, bool raise) override;
    void presentSurface(Surface surface, const gdi::Canvas& canvas) override;
    void hideSurface(Surface surface) override;
    bool focusSurface(Surface surface) override;
    void setCursor(Surface surface, UINT cursor) override;
    void flush() override;

    bool openPictures(std::uintptr_t monitor) override;
    PictureState waitForPicture(DWORD milliseconds) override;
    CapturedPicture readPicture(const RECT& area) override;
    void closePictures() override;

    void clearClipboard() override;
    bool offerFile(const std::string& path) override;
    void leaveClipboard() override;

    void setTrayIcon(const TrayIcon* icon) override;
    UINT sendNotice(const Notice& notice) override;
    void withdrawNotices() override;
    RECT workArea() override;
    bool isWaylandSession() override;
    bool openFolder(const std::string& path) override;
};

// Queues an event for nextEvent.
void report(const Event& event);

// Each handles the events that concern it. False: this one does not.
bool keyboardEvent(const xcb_generic_event_t& event);
bool pointerEvent(const xcb_generic_event_t& event);
bool surfaceEvent(const xcb_generic_event_t& event);
bool focusEvent(const xcb_generic_event_t& event);
bool trayEvent(const xcb_generic_event_t& event);
bool clipboardEvent(const xcb_generic_event_t& event);
bool monitorEvent(const xcb_generic_event_t& event);

// input.cpp
// Others have the keyboard now and get the releases too, so every key that is down counts as
// released.
void releaseKeysDown();
// While on, a press anywhere else on the desktop is reported too, as an event without surface; it
// goes where it was meant for all the same.
void watchClicksElsewhere(bool on);

// keymap.cpp
bool loadKeymap();  // false: nothing has changed
// 0: no such virtual key. `state` has NumLock, which decides what the keypad's keys are.
UINT virtualKey(xcb_keycode_t code, std::uint16_t state);
// All keys that may give the virtual key; a generic modifier stands for both sides.
std::vector<xcb_keycode_t> keycodesOf(UINT key);
UINT modifiersOf(std::uint16_t state);           // MOD_ALT and its like
std::uint16_t stateOf(UINT modifiers);           // the reverse
const std::vector<std::uint16_t>& lockStates();  // with and without CapsLock and NumLock

// monitor.cpp
void openMonitors();
// As the server has them now, without ids; any thread with a connection of its own may ask.
std::vector<Monitor> readMonitors(xcb_connection_t* server);
// Makes the server tell that connection of every change of the layout, and of other events at the
// root window.
void watchMonitors(xcb_connection_t* server, std::uint32_t others = 0);
bool tellsOfMonitors(const xcb_generic_event_t& event);
// As of the last event, from any thread; one without an id if there is none.
Monitor findMonitor(std::uintptr_t id);
Monitor primaryMonitor();

// surface.cpp
void openSurfaces();
bool isSurface(xcb_window_t window);

// clipboard.cpp
// Asks a clipboard manager to keep what is offered. False: there is none, or nothing to keep.
bool askToKeepOffer();
bool isOfferBeingKept();  // The manager has not answered yet.

// notice.cpp
void attendToNotices();  // Sends and reads what is on its way; part of looking for events.

}  // namespace host::x11
