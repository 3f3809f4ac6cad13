// Hot keys.

#pragma once

#include "platform/hosts/host.h"

namespace user32 {

// Posts WM_HOTKEY if the press completes a registered combination, modifiers exactly. A repeat is
// taken in silence.
bool isHotKey(const host::Event& press, bool isRepeat);
void releaseHotKeysOf(HWND window);

}  // namespace user32
