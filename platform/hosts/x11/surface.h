// The program's windows on the display, and which of them has the keyboard.

#pragma once

#include <xcb/xcb.h>

#include "platform/hosts/host.h"

namespace host::x11 {

void openSurfaces();

Surface createSurface(const std::u16string& title);
void destroySurface(Surface surface);
void showSurface(Surface surface, const Placement& placement, bool raise);
void presentSurface(Surface surface, const Picture& picture);
void hideSurface(Surface surface);
void setCursor(Surface surface, UINT cursor);
void flush();
bool isSurface(xcb_window_t window);

bool focusSurface(Surface surface);
Surface focusedSurface();             // 0: none of ours
void giveFocusBack(Surface leaving);  // to the one of ours that had it before, or to the others

// Take an event that concerns what is shown or who has the keyboard.
bool surfaceEvent(const xcb_generic_event_t& event);
bool focusEvent(const xcb_generic_event_t& event);

}  // namespace host::x11
