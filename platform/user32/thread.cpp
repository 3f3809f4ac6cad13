// Who the user-interface thread is, and what happens when it ends.

#include "platform/user32/thread.h"

#include <thread>
#include <atomic>

#include "platform/core/call.h"
#include "platform/core/shown.h"
#include "platform/hosts/host.h"
#include "platform/shell32/tray.h"
#include "platform/user32/activation.h"
#include "platform/user32/hook.h"
#include "platform/user32/message_queue.h"
#include "platform/user32/modal.h"
#include "platform/user32/monitor.h"
#include "platform/user32/mouse.h"
#include "platform/user32/window.h"

namespace user32 {

namespace {

std::atomic<std::thread::id> owner{};

// Windows go first: with them their timers, hot keys and posted messages.
void endProgram() {
    forgetModals();
    destroyAllWindows();
    forgetHooks();
    forgetClasses();
    shell32::forgetTrayIcon();
    forgetMessages();
    forgetDpiAwareness();
    owner = std::thread::id{};
}

struct Ending {
    bool entered = false;
    ~Ending() {
        if (entered) endProgram();
    }
};
thread_local Ending ending;

}  // namespace

void enterUserInterface() {
    if (ending.entered) return;
    std::thread::id nobody{};
    if (!owner.compare_exchange_strong(nobody, std::this_thread::get_id()))
        desktop::refuse("user interface", "second thread", 0);
    ending.entered = true;
    beginActivation();
    host::current();  // Asking without a choice stops the process, here rather than somewhere
                      // later.
    desktop::withShown([](desktop::Shown& shown) { shown = {}; });
}

}  // namespace user32
