// Balloons.

#pragma once

#include "platform/hosts/host.h"

namespace host::x11 {

void showBalloon(const Balloon& balloon);
// Goes on with what is on its way; part of looking for events.
void attendToBalloons();

}  // namespace host::x11
