// Small windows with a text: the balloon where the desktop shows no notices, and the tray icon's
// tip.

#pragma once

#include <xcb/xcb.h>

#include <chrono>
#include <optional>
#include <string>

#include "platform/hosts/host.h"

namespace host::x11 {

struct NoteText {
    std::string title, body;  // UTF-8; without a title it is a plain tip
    bool isError = false, isUrgent = false;
};

// How long a notice stays by itself. An error has more to read.
constexpr std::chrono::seconds showTime(const NoteText& text) {
    return std::chrono::seconds(text.isError ? 10 : 5);
}

// An error stays its time beside what follows, unless that says the same again.
inline bool isReplaced(const NoteText& earlier, const NoteText& later) {
    return !earlier.isError || earlier.body == later.body;
}

// Shows it with its lower right corner there, in sizes for that dpi. It stays until it is clicked
// or hidden.
xcb_window_t showNote(const NoteText& text, POINT corner, UINT dpi);
void hideNote(xcb_window_t& note);                    // 0 is none, and becomes it
std::optional<RECT> boundsOfNote(xcb_window_t note);  // none: it was clicked away
bool noteEvent(const xcb_generic_event_t& event);

}  // namespace host::x11
