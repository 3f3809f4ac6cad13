// The end of the session as the program's windows hear of it.

#include "platform/user32/session.h"

#include <cstdlib>
#include <stdexcept>

#include "platform/core/shown.h"
#include "platform/hosts/host.h"
#include "platform/user32/message_queue.h"
#include "platform/user32/window.h"

namespace user32 {

namespace {

void sendToAll(UINT message, WPARAM wparam) {
    const std::vector<HWND> all = windowOrder();  // a copy: windows may go meanwhile
    for (const HWND window : all) {
        const Window* const record = find(window);
        if (record && !record->ofTheLayer) send(window, message, wparam, 0);
    }
}

}  // namespace

void askForSessionEnd() { sendToAll(WM_QUERYENDSESSION, 0); }

void tellSessionEnd(bool reallyEnds) {
    sendToAll(WM_ENDSESSION, reallyEnds);
    if (!reallyEnds) return;
    // The process is ended after the last answer; nothing behind the message loop ever runs.
    destroyAllWindows();
    host::current().leaveClipboard();
    std::_Exit(0);
}

void endSession() {
    askForSessionEnd();
    tellSessionEnd(true);
}

void broadcast(UINT message, WPARAM wparam, LPARAM lparam) {
    for (const HWND window : windowOrder())
        if (!find(window)->ofTheLayer) post({window, message, wparam, lparam, 0, {}});
}

}  // namespace user32

void desktop::postToWindow(const std::string& className, UINT message, WPARAM wparam,
                           LPARAM lparam) {
    const HWND window = withShown([&](Shown& shown) -> HWND {
        for (const ShownHandle& entry : shown.windows)
            if (entry.window.className == className) return entry.handle;
        return nullptr;
    });
    if (user32::post({window, message, wparam, lparam, 0, {}}) != user32::Posted::Yes)
        throw std::runtime_error("No window of the class " + className);
}
