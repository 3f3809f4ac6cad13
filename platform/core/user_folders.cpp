#include "platform/core/user_folders.h"

#include <glib.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>

#include "platform/hosts/host.h"

namespace desktop {

namespace {

// Relative paths in these variables are to be ignored.
std::optional<std::filesystem::path> folderIn(const char* variable) {
    const char* const text = std::getenv(variable);
    if (!text || text[0] != '/') return std::nullopt;
    return text;
}

std::filesystem::path home() {
    if (const auto folder = folderIn("HOME")) return *folder;
    const passwd* const user = getpwuid(getuid());
    return user ? user->pw_dir : "/";
}

bool isOwn(const std::filesystem::path& folder) {
    struct stat item {};
    return stat(folder.c_str(), &item) == 0 && item.st_uid == geteuid();
}

// After a change of user the environment can still name another user's runtime folder, and what the
// superuser leaves there keeps its owner out. In a folder that all users share, such as /tmp,
// another user could take the name first.
std::filesystem::path folderForSessions() {
    const auto runtime = folderIn("XDG_RUNTIME_DIR");
    if (runtime && isOwn(*runtime)) return *runtime;
    const auto cache = folderIn("XDG_CACHE_HOME").value_or(home() / ".cache");
    std::error_code ignored;
    std::filesystem::create_directories(cache, ignored);
    return cache;
}

bool makePrivate(const std::filesystem::path& folder) {
    removeSocket(folder);
    mkdir(folder.c_str(), 0700);
    struct stat item {};
    return lstat(folder.c_str(), &item) == 0 && S_ISDIR(item.st_mode) && item.st_uid == geteuid() &&
           (item.st_mode & 077) == 0;
}

}  // namespace

std::string asFileName(const std::string& text) {
    const std::unique_ptr<char, decltype(&g_free)> name(
        g_uri_escape_string(text.c_str(), nullptr, false), g_free);
    return name.get();
}

void removeSocket(const std::filesystem::path& path) {
    std::error_code ignored;
    if (std::filesystem::symlink_status(path, ignored).type() == std::filesystem::file_type::socket)
        std::filesystem::remove(path, ignored);
}

std::filesystem::path userDataFolder() {
    return folderIn("XDG_DATA_HOME").value_or(home() / ".local/share");
}

std::filesystem::path configFolder() {
    return folderIn("XDG_CONFIG_HOME").value_or(home() / ".config");
}

std::optional<std::filesystem::path> sessionFolder() {
    const auto ours = folderForSessions() / "quorvel-desk-clip";
    const auto session = ours / asFileName(host::current().session());
    if (!makePrivate(ours) || !makePrivate(session)) return std::nullopt;
    return session;
}

}  // namespace desktop
