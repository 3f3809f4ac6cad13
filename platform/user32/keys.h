// Virtual keys, scan codes and names of a US English keyboard.

#pragma once

#include <windows.h>

namespace user32 {

UINT scanCodeOf(UINT key);  // 0: the keyboard does not have the key
bool isExtended(
    UINT key);  // one of the keys that came later and share a scan code with an older one

}  // namespace user32
