// The host in use.

#include "platform/hosts/host.h"

#include <atomic>

#include "platform/core/call.h"

namespace host {

namespace {

std::atomic<Host*> chosenHost{nullptr};

}  // namespace

void use(Host& chosen) { chosenHost = &chosen; }

Host& current() {
    Host* const host = chosenHost;
    if (!host) desktop::refuse("desktop", "no host has been chosen", 0);
    return *host;
}

}  // namespace host
