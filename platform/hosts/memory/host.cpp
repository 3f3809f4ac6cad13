// The embedded desktop as a host.

#include "platform/hosts/host.h"

#include <unistd.h>

#include <cstdlib>

#include "platform/hosts/memory/desktop.h"
#include "platform/hosts/memory/parts.h"

namespace memory {

namespace {

// Each process has a desktop of its own, unless it is told the name of one that it shares.
std::string session() {
    const char* const shared = std::getenv("EMBEDDED_DESKTOP");
    return shared ? shared : "memory-" + std::to_string(getpid());
}

bool openClipboard() {
    const std::lock_guard lock(theDesktop().mutex);
    return !theDesktop().clipboardHeld;
}

const host::Host table{
    .name = "memory",
    .session = session,
    .eventDescriptor = eventDescriptor,
    .nextEvent = nextEvent,
    .finishInput = finishInput,
    .monitors = monitors,
    .pointer = pointer,
    .keyIsDown = keyIsDown,
    .grabHotKey = grabHotKey,
    .releaseHotKey = [](UINT, UINT) {},
    .grabKeys = [](host::KeyGrab) { return true; },  // every key comes here first anyway
    .hasTaskbar = true,
    .createSurface = createSurface,
    .destroySurface = destroySurface,
    .showSurface = showSurface,
    .presentSurface = presentSurface,
    .hideSurface = hideSurface,
    .focusSurface = focusSurface,
    .setCursor = [](host::Surface, UINT) {},
    .flush = [] {},  // every change is on the screen when its function returns
    .openPictures = openPictures,
    .waitForPicture = waitForPicture,
    .readPicture = readPicture,
    .closePictures = [] {},
    .openClipboard = openClipboard,
    .closeClipboard = [] {},
    .clearClipboard = [] {},
    .offerFiles = [](const std::vector<std::string>&,
                     const std::vector<std::uint8_t>&) { return true; },
    .leaveClipboard = [] {},
    .setTrayIcon = setTrayIcon,
    .showBalloon = showBalloon,
    .openFolder = [](const std::string&) { return true; },
};

}  // namespace

}  // namespace memory

namespace host {

const Host& memoryHost() { return memory::table; }

}  // namespace host
