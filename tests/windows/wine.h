// What the user under Wine has beside tests/scenarios/user.h.

#pragma once

#include "tests/scenarios/user.h"

namespace user {

// For programs that are started from now on: "native" is the stand-in, "builtin" Wine's own
// library, and with "" there is none. Each atDesktop begins with the stand-ins.
inline const std::string libraries[] = {"dxgi", "d3d11", "mfplat", "mfreadwrite"};
void setLoadOrder(const std::string& library, const std::string& order);

Path callRecord();  // the file that the stand-ins write

}  // namespace user
