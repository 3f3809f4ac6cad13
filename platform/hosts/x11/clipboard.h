// Files on the display's clipboard.

#pragma once

#include <xcb/xcb.h>

#include "platform/hosts/host.h"

namespace host::x11 {

bool openClipboard();
void closeClipboard();
void clearClipboard();
bool offerFiles(const std::vector<std::string>& paths, const std::vector<std::uint8_t>& block);
bool clipboardEvent(const xcb_generic_event_t& event);

}  // namespace host::x11
