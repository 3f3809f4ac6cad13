// The display's keys as virtual keys.

#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <vector>

#include <windows.h>

namespace host::x11 {

bool loadKeymap();  // false: it is what it was

// 0: no such virtual key. `state` has NumLock, which decides what the keypad's keys are.
UINT virtualKey(xcb_keycode_t code, std::uint16_t state);
// All keys that may give the virtual key; a generic modifier stands for both sides.
std::vector<xcb_keycode_t> keycodesOf(UINT key);

UINT modifiersOf(std::uint16_t state);           // MOD_ALT and its like
std::uint16_t stateOf(UINT modifiers);           // the reverse
const std::vector<std::uint16_t>& lockStates();  // with and without CapsLock and NumLock

}  // namespace host::x11
