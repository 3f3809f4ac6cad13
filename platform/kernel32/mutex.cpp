// Named mutexes, of which only the name is used: whoever creates it is the first.
//
// A name is a file in the session's folder, and each handle holds a shared lock on it. Locks end
// with their process, so a file without a lock is a name that nobody has; who takes the last lock
// away removes the file. One lock on the folder makes each of these steps whole.

#include <windows.h>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "platform/desktop/call.h"
#include "platform/desktop/descriptor.h"
#include "platform/desktop/text.h"
#include "platform/desktop/user_folders.h"
#include "platform/kernel32/kernel_objects.h"

namespace {

using desktop::Descriptor;

Descriptor lockFolder(const std::filesystem::path& folder) {
    Descriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened && flock(opened.get(), LOCK_EX) != 0) return Descriptor();
    return opened;
}

// "Local\x" and "x" are the same object.
std::string objectName(LPCWSTR name) {
    const std::string text = desktop::toUtf8(name);
    const std::string session = "Local\\";
    const std::string plain = text.starts_with(session) ? text.substr(session.size()) : text;
    if (plain.empty() || plain.find_first_of("/\\") != std::string::npos)
        desktop::refuse("CreateMutexW", "separator in the name", 1);
    return plain;
}

}  // namespace

HANDLE CreateMutexW(LPSECURITY_ATTRIBUTES security, BOOL owned, LPCWSTR name) {
    desktop::Call call("CreateMutexW", name);
    if (security || owned || !name) desktop::refuse("CreateMutexW", "kind of mutex", owned);
    const auto failed = [&call] {
        call.fail(ERROR_ACCESS_DENIED);
        return nullptr;
    };
    if (call.struck()) return failed();
    const auto folder = desktop::sessionFolder();
    if (!folder) return failed();
    const std::string path = *folder / ("mutex-" + objectName(name));
    const Descriptor step = lockFolder(*folder);
    Descriptor file(open(path.c_str(), O_RDONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!step || !file) return failed();
    const bool isNew = flock(file.get(), LOCK_EX | LOCK_NB) == 0;
    if (flock(file.get(), LOCK_SH) != 0) return failed();
    SetLastError(isNew ? ERROR_SUCCESS : ERROR_ALREADY_EXISTS);
    return kernel32::addObject({desktop::Object::Mutex, file.release(), 0, path});
}

void kernel32::releaseMutexName(const KernelObject& mutex) {
    const Descriptor step = lockFolder(std::filesystem::path(mutex.path).parent_path());
    const bool isLast = step && flock(mutex.descriptor, LOCK_EX | LOCK_NB) == 0;
    if (isLast) unlink(mutex.path.c_str());
}
