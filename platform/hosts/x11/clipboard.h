// Files on the display's clipboard.

#pragma once

#include <xcb/xcb.h>

#include "platform/hosts/host.h"

namespace host::x11 {

bool openClipboard();
void closeClipboard();
void clearClipboard();
bool offerFiles(const std::vector<std::string>& paths, const std::vector<std::uint8_t>& block);
// Asks a clipboard manager to keep what is offered. False: there is none, or nothing to keep.
bool askToKeepOffer();
bool isOfferBeingKept();  // The manager has not answered yet.
bool clipboardEvent(const xcb_generic_event_t& event);

}  // namespace host::x11
