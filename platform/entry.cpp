// The native program's entry point: opens the live display, and ends the program in good order when
// a signal comes.

#include <windows.h>

#include <malloc.h>
#include <signal.h>
#include <sys/stat.h>

#include <cstdio>
#include <exception>

#include "platform/core/text.h"
#include "platform/hosts/host.h"
#include "platform/user32/window.h"

namespace {

// The arguments, separated by blanks.
std::u16string commandTail(int count, char** arguments) {
    std::string tail;
    for (int index = 1; index < count; ++index)
        tail += (index > 1 ? " " : "") + std::string(arguments[index]);
    return desktop::toUtf16(tail);
}

// The program sees a signal as the end of its session: a running clip is finished first.
void endInGoodOrder(int) { user32::endSessionSoon(); }

// The write itself reports a closed connection or a limit of file sizes. Not SIG_IGN, which the
// file manager that is started from here would inherit.
void carryOn(int) {}

void catchSignals() {
    struct sigaction action {};
    action.sa_handler = endInGoodOrder;
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) sigaction(number, &action, nullptr);
    action.sa_handler = carryOn;
    action.sa_flags = SA_RESTART;
    for (const int number : {SIGPIPE, SIGXFSZ}) sigaction(number, &action, nullptr);
}

}  // namespace

int main(int count, char** arguments) {
    // Otherwise the threshold grows with the first freed image, and later ones stay in the heap.
    mallopt(M_MMAP_THRESHOLD, 1 << 20);
    umask(077);  // Nobody else on the machine may read what the user records and sets.
    try {
        host::use(host::x11Host());
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "%s\n", exception.what());
        return 1;
    }
    catchSignals();
    std::u16string tail = commandTail(count, arguments);
    const int code = wWinMain(GetModuleHandleW(nullptr), nullptr, tail.data(), SW_SHOWNORMAL);
    host::current().leaveClipboard();
    return code;
}
