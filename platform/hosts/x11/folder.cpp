// Folders in the user's file manager.

#include "platform/hosts/x11/folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace host::x11 {

namespace {

// As it was before the entry point made the program's own files private.
const mode_t usersMask = [] {
    const mode_t mask = umask(0);
    umask(mask);
    return mask;
}();

// The pipe closes by itself if the program starts; otherwise it brings a byte.
[[noreturn]] void runDetached(const char* path, int failure) {
    setsid();
    const pid_t child = fork();
    if (child != 0) _exit(child < 0);
    umask(usersMask);
    execlp("xdg-open", "xdg-open", path, static_cast<char*>(nullptr));
    [[maybe_unused]] const ssize_t written = write(failure, "", 1);
    _exit(127);
}

}  // namespace

// A grandchild, so that nobody has to wait for its end.
bool openFolder(const std::string& path) {
    int failure[2];
    if (pipe2(failure, O_CLOEXEC) != 0) return false;
    const pid_t child = fork();
    if (child == 0) runDetached(path.c_str(), failure[1]);
    close(failure[1]);
    char byte = 0;
    int status = 1;
    if (child > 0) waitpid(child, &status, 0);
    const bool failed = status != 0 || read(failure[0], &byte, 1) > 0;
    close(failure[0]);
    return !failed;
}

}  // namespace host::x11
