// Low-level keyboard hooks.

#pragma once

#include "platform/hosts/host.h"

namespace user32 {

// Calls the hooks, the last installed first. True if one of them ate the event.
bool hooksEat(const host::Event& event, UINT message);
// The key event that a hook is looking at; null outside of hooks.
const host::Event* hookedEvent();
void forgetHooks();

}  // namespace user32
