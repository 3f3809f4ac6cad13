// The registry, of which there is one key: the user's Run key.
//
// The key is the desktop's autostart folder. An entry there is the value itself, so what the
// desktop's own tools show and change is what the registry says. A value's name is that of the
// entry's file without its extension.

#include <windows.h>

#include <fcntl.h>
#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "platform/core/call.h"
#include "platform/core/descriptor.h"
#include "platform/core/objects.h"
#include "platform/core/text.h"
#include "platform/core/user_folders.h"
#include "platform/kernel32/files.h"

namespace {

std::filesystem::path autostartFolder() { return desktop::configFolder() / "autostart"; }

std::string entryFile(const desktop::Call& call, LPCWSTR name) {
    const std::string title = desktop::toUtf8(name);
    if (title.empty() || title.front() == '.' || title.find('/') != title.npos)
        call.refuse("name of a value", title.size());
    return autostartFolder() / (title + ".desktop");
}

LSTATUS errorAt(const std::string& file) {
    return static_cast<LSTATUS>(kernel32::errorCode(errno, file));
}

struct Release {
    void operator()(GKeyFile* file) const { g_key_file_free(file); }
    void operator()(char* text) const { g_free(text); }
};
using KeyFile = std::unique_ptr<GKeyFile, Release>;
using Text = std::unique_ptr<char, Release>;

constexpr const char* group = "Desktop Entry";

// The program as a quoted argument of an Exec line, where a backslash escapes some letters and a
// single per cent sign is a placeholder.
std::string execLine(std::string_view program) {
    std::string line = "\"";
    for (const char letter : program) {
        if (std::string_view("\\\"`$").find(letter) != std::string_view::npos) line += '\\';
        line += letter == '%' ? "%%" : std::string(1, letter);
    }
    return line + '"';
}

// Empty for a line in any other form, such as one with arguments.
std::optional<std::string> programIn(std::string_view line) {
    std::string program;
    for (std::size_t at = 1; at + 1 < line.size(); ++at) {
        if (line[at] == '\\' || line[at] == '%') ++at;
        program += line[at];
    }
    return execLine(program) == line ? std::optional(program) : std::nullopt;
}

// Hidden is the standard's way to switch an entry off; desktops' own tools also use a key of
// theirs, such as X-GNOME-Autostart-enabled.
bool isOff(GKeyFile* entry) {
    bool off = g_key_file_get_boolean(entry, group, "Hidden", nullptr);
    char** const keys = g_key_file_get_keys(entry, group, nullptr, nullptr);
    for (char** key = keys; key && *key; ++key)
        off |= g_str_has_suffix(*key, "-Autostart-enabled") &&
               !g_key_file_get_boolean(entry, group, *key, nullptr);
    g_strfreev(keys);
    return off;
}

// An entry that starts a program without arguments is a text: the program's path in quotes, with a
// terminator. Anything else of that name is a value without text, which no program writes here. An
// entry that is switched off counts as missing.
LSTATUS readEntry(const std::string& file, std::u16string& text) {
    struct stat item {};
    if (lstat(file.c_str(), &item) != 0) return errorAt(file);
    // The user put it there, and so a link, wherever it leads.
    if (!S_ISREG(item.st_mode)) return ERROR_SUCCESS;
    if (access(file.c_str(), R_OK) != 0) return errorAt(file);
    const KeyFile entry(g_key_file_new());
    // What is no key file at all has no such key.
    g_key_file_load_from_file(entry.get(), file.c_str(), G_KEY_FILE_NONE, nullptr);
    if (isOff(entry.get())) return ERROR_FILE_NOT_FOUND;
    const Text line(g_key_file_get_string(entry.get(), group, "Exec", nullptr));
    const auto program = line ? programIn(g_strchomp(line.get())) : std::nullopt;
    const auto path = program ? desktop::publishedPath(*program) : std::nullopt;
    if (path) text = u'"' + *path + u"\"" + u'\0';
    return ERROR_SUCCESS;
}

// `command` is a path in quotes. Replaces a file of that name as a whole or not at all.
LSTATUS writeEntry(const std::string& file, std::u16string_view command) {
    const std::string program = desktop::toUtf8(command.substr(1, command.size() - 2));
    const KeyFile entry(g_key_file_new());
    const std::string title = std::filesystem::path(file).stem();
    g_key_file_set_string(entry.get(), group, "Type", "Application");
    g_key_file_set_string(entry.get(), group, "Name", title.c_str());
    g_key_file_set_string(entry.get(), group, "Exec", execLine(program).c_str());
    gsize length = 0;
    const Text content(g_key_file_to_data(entry.get(), &length, nullptr));
    std::string copy = file + ".XXXXXX";
    const desktop::Descriptor output(mkostemp(copy.data(), O_CLOEXEC));
    if (!output) return errorAt(file);
    errno = ENOSPC;  // A write that is cut off by a full disk sets none.
    if (write(output.get(), content.get(), length) == static_cast<ssize_t>(length) &&
        fsync(output.get()) == 0 && rename(copy.c_str(), file.c_str()) == 0)
        return ERROR_SUCCESS;
    const LSTATUS code = errorAt(file);
    unlink(copy.c_str());
    return code;
}

desktop::HandleTable<HKEY, REGSAM> table(0x30000010, "RegistryKey");  // their rights

void refuseUnknown(const desktop::Call& call, HKEY parent, LPCWSTR path, DWORD options,
                   REGSAM rights) {
    call.only("parent", parent, HKEY_CURRENT_USER);
    const bool isRunKey =
        desktop::lowered(path) == u"software\\microsoft\\windows\\currentversion\\run";
    call.only("path", isRunKey, true);
    call.only("options", options, 0);
    call.only("rights", rights, KEY_QUERY_VALUE, KEY_SET_VALUE, KEY_QUERY_VALUE | KEY_SET_VALUE);
}

// 0, or the code with which the call fails.
LSTATUS refusal(desktop::Call& call, HKEY handle, REGSAM right) {
    const REGSAM* const rights = table.find(handle);
    if (!rights) call.refuse("key", handle);
    if (call.struck()) return static_cast<LSTATUS>(call.code(ERROR_ACCESS_DENIED));
    return *rights & right ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

// The text of a value that an entry can hold: a path in quotes, and one terminator.
std::optional<std::u16string> commandIn(DWORD type, const BYTE* data, DWORD size) {
    std::u16string text(size / sizeof(WCHAR), 0);
    std::memcpy(text.data(), data, text.size() * sizeof(WCHAR));
    const bool isCommand = type == REG_SZ && size % sizeof(WCHAR) == 0 && text.size() > 3 &&
                           text.find(u'\0') == text.size() - 1 && text.front() == u'"' &&
                           text[text.size() - 2] == u'"';
    text.resize(isCommand ? text.size() - 1 : 0);
    return isCommand ? std::optional(text) : std::nullopt;
}

}  // namespace

LSTATUS RegOpenKeyExW(HKEY parent, LPCWSTR path, DWORD options, REGSAM rights, PHKEY key) {
    desktop::Call call("RegOpenKeyExW", path, rights);
    refuseUnknown(call, parent, path, options, rights);
    if (call.struck()) return static_cast<LSTATUS>(call.code(ERROR_ACCESS_DENIED));
    std::error_code ignored;
    const bool isThere = std::filesystem::is_directory(autostartFolder(), ignored);
    if (!isThere) return ERROR_FILE_NOT_FOUND;
    *key = table.add(rights);
    return ERROR_SUCCESS;
}

LSTATUS RegCreateKeyExW(HKEY parent, LPCWSTR path, DWORD reserved, LPWSTR keyClass, DWORD options,
                        REGSAM rights, LPSECURITY_ATTRIBUTES security, PHKEY key,
                        LPDWORD disposition) {
    desktop::Call call("RegCreateKeyExW", path, rights);
    refuseUnknown(call, parent, path, options, rights);
    call.only("class, security or disposition", reserved || keyClass || security || disposition,
              false);
    if (call.struck()) return static_cast<LSTATUS>(call.code(ERROR_ACCESS_DENIED));
    std::error_code error;
    std::filesystem::create_directories(autostartFolder(), error);
    if (error) return static_cast<LSTATUS>(kernel32::errorCode(error.value()));
    *key = table.add(rights);
    return ERROR_SUCCESS;
}

LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                         LPDWORD size) {
    desktop::Call call("RegQueryValueExW", name);
    call.only("reserved argument or missing size", reserved || !size, false);
    const std::string file = entryFile(call, name);
    if (const LSTATUS code = refusal(call, key, KEY_QUERY_VALUE)) return code;
    std::u16string text;
    if (const LSTATUS code = readEntry(file, text)) return code;
    const DWORD capacity = *size;
    if (type) *type = text.empty() ? REG_BINARY : REG_SZ;
    *size = static_cast<DWORD>(text.size() * sizeof(WCHAR));
    if (!data) return ERROR_SUCCESS;
    if (capacity < *size) return ERROR_MORE_DATA;
    std::memcpy(data, text.data(), *size);
    return ERROR_SUCCESS;
}

LSTATUS RegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data,
                       DWORD size) {
    desktop::Call call("RegSetValueExW", name, type, size);
    call.only("reserved argument", reserved, 0);
    const std::string file = entryFile(call, name);
    const auto command = commandIn(type, data, size);
    if (!command) call.refuse("value of type", type);
    if (const LSTATUS code = refusal(call, key, KEY_SET_VALUE)) return code;
    return writeEntry(file, *command);
}

LSTATUS RegDeleteValueW(HKEY key, LPCWSTR name) {
    desktop::Call call("RegDeleteValueW", name);
    const std::string file = entryFile(call, name);
    if (const LSTATUS code = refusal(call, key, KEY_SET_VALUE)) return code;
    std::u16string text;
    if (const LSTATUS code = readEntry(file, text)) return code;
    return unlink(file.c_str()) == 0 ? ERROR_SUCCESS : errorAt(file);
}

LSTATUS RegCloseKey(HKEY key) {
    desktop::Call call("RegCloseKey");
    if (!table.remove(key)) call.refuse("key", key);
    return ERROR_SUCCESS;
}
