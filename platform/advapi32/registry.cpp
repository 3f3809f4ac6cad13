// Registry keys and values, of which there is one key: the user's Run key.

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <optional>
#include <string>

#include "platform/advapi32/autostart.h"
#include "platform/desktop/call.h"
#include "platform/desktop/handle_table.h"
#include "platform/desktop/objects.h"
#include "platform/desktop/text.h"
#include "platform/kernel32/error_codes.h"

namespace {

std::mutex guard;
desktop::HandleTable<HKEY, REGSAM> table(0x30000010);  // the rights that each was opened with

LSTATUS failure(const desktop::Call& call) {
    return static_cast<LSTATUS>(call.code(ERROR_ACCESS_DENIED));
}

void refuseUnknown(const char* operation, HKEY parent, LPCWSTR path, DWORD options, REGSAM rights) {
    if (parent != HKEY_CURRENT_USER) desktop::refuse(operation, "parent", 1);
    if (desktop::lowered(path) != u"software\\microsoft\\windows\\currentversion\\run")
        desktop::refuse(operation, "path", 1);
    if (options) desktop::refuse(operation, "options", options);
    if (rights == 0 || (rights & ~(KEY_QUERY_VALUE | KEY_SET_VALUE)))
        desktop::refuse(operation, "rights", rights);
}

LSTATUS openKey(REGSAM rights, PHKEY handle) {
    desktop::opened(desktop::Object::RegistryKey);
    const std::lock_guard lock(guard);
    *handle = table.add(rights);
    return ERROR_SUCCESS;
}

bool hasRight(const char* operation, HKEY handle, REGSAM right) {
    const std::lock_guard lock(guard);
    const REGSAM* const rights = table.find(handle);
    if (!rights) desktop::refuse(operation, "key", reinterpret_cast<std::intptr_t>(handle));
    return *rights & right;
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
    refuseUnknown("RegOpenKeyExW", parent, path, options, rights);
    if (call.struck()) return failure(call);
    std::error_code ignored;
    const bool isThere = std::filesystem::is_directory(advapi32::autostartFolder(), ignored);
    return isThere ? openKey(rights, key) : ERROR_FILE_NOT_FOUND;
}

LSTATUS RegCreateKeyExW(HKEY parent, LPCWSTR path, DWORD reserved, LPWSTR keyClass, DWORD options,
                        REGSAM rights, const LPSECURITY_ATTRIBUTES security, PHKEY key,
                        LPDWORD disposition) {
    desktop::Call call("RegCreateKeyExW", path, rights);
    refuseUnknown("RegCreateKeyExW", parent, path, options, rights);
    if (reserved || keyClass || security) desktop::refuse("RegCreateKeyExW", "argument", 1);
    if (call.struck()) return failure(call);
    std::error_code error;
    const bool isNew = std::filesystem::create_directories(advapi32::autostartFolder(), error);
    if (error) return static_cast<LSTATUS>(kernel32::errorCode(error.value()));
    if (disposition) *disposition = isNew ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
    return openKey(rights, key);
}

LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                         LPDWORD size) {
    desktop::Call call("RegQueryValueExW", name);
    if (reserved || !size) desktop::refuse("RegQueryValueExW", "argument", 1);
    if (call.struck()) return failure(call);
    if (!hasRight("RegQueryValueExW", key, KEY_QUERY_VALUE)) return ERROR_ACCESS_DENIED;
    advapi32::Value value;
    if (const LSTATUS code = advapi32::readAutostart(name, value)) return code;
    const DWORD capacity = *size;
    if (type) *type = value.type;
    *size = static_cast<DWORD>(value.bytes.size());
    if (!data) return ERROR_SUCCESS;
    if (capacity < *size) return ERROR_MORE_DATA;
    std::copy(value.bytes.begin(), value.bytes.end(), data);
    return ERROR_SUCCESS;
}

LSTATUS RegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data,
                       DWORD size) {
    desktop::Call call("RegSetValueExW", name, type, size);
    if (reserved) desktop::refuse("RegSetValueExW", "reserved argument", reserved);
    const auto command = commandIn(type, data, size);
    if (!command) desktop::refuse("RegSetValueExW", "value of type", type);
    if (call.struck()) return failure(call);
    if (!hasRight("RegSetValueExW", key, KEY_SET_VALUE)) return ERROR_ACCESS_DENIED;
    return advapi32::writeAutostart(name, *command);
}

LSTATUS RegDeleteValueW(HKEY key, LPCWSTR name) {
    desktop::Call call("RegDeleteValueW", name);
    if (call.struck()) return failure(call);
    if (!hasRight("RegDeleteValueW", key, KEY_SET_VALUE)) return ERROR_ACCESS_DENIED;
    return advapi32::removeAutostart(name);
}

LSTATUS RegCloseKey(HKEY key) {
    desktop::Call call("RegCloseKey");
    const std::lock_guard lock(guard);
    if (!table.remove(key))
        desktop::refuse("RegCloseKey", "key", reinterpret_cast<std::intptr_t>(key));
    desktop::closed(desktop::Object::RegistryKey);
    return ERROR_SUCCESS;
}
