// Registry keys and values.

#include <windows.h>

#include <algorithm>
#include <mutex>
#include <optional>

#include "platform/advapi32/autostart.h"
#include "platform/advapi32/registry_files.h"
#include "platform/desktop/call.h"
#include "platform/desktop/handle_table.h"
#include "platform/desktop/objects.h"

namespace {

struct Key {
    std::filesystem::path folder;
    REGSAM rights = 0;
};

std::mutex guard;
desktop::HandleTable<HKEY, Key> table(0x30000010);

bool isFolder(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::is_directory(path, ignored);
}

LSTATUS failure(const desktop::Call& call, DWORD usual) {
    return static_cast<LSTATUS>(call.code(usual));
}

void refuseUnknown(const char* operation, HKEY parent, DWORD options, REGSAM rights) {
    if (parent != HKEY_CURRENT_USER) desktop::refuse(operation, "parent", 1);
    if (options) desktop::refuse(operation, "options", options);
    if (rights == 0 || (rights & ~(KEY_QUERY_VALUE | KEY_SET_VALUE)))
        desktop::refuse(operation, "rights", rights);
}

LSTATUS openKey(const Key& key, PHKEY handle) {
    desktop::opened(desktop::Object::RegistryKey);
    const std::lock_guard lock(guard);
    *handle = table.add(key);
    return ERROR_SUCCESS;
}

// The key's record if it is there and has the right; else the code of the failure in `code`.
std::optional<Key> usableKey(const char* operation, HKEY handle, REGSAM right, LSTATUS& code) {
    const std::lock_guard lock(guard);
    const Key* const key = table.find(handle);
    if (!key) desktop::refuse(operation, "key", reinterpret_cast<std::intptr_t>(handle));
    code = ERROR_SUCCESS;
    if (!isFolder(key->folder)) code = ERROR_KEY_DELETED;
    if (!(key->rights & right)) code = ERROR_ACCESS_DENIED;
    return code ? std::nullopt : std::optional(*key);
}

// A text without its terminator gets one if there is room behind it; it does not count.
void deliver(const advapi32::Value& value, LPBYTE data, DWORD capacity) {
    std::copy(value.bytes.begin(), value.bytes.end(), data);
    const bool isText = value.type == REG_SZ || value.type == REG_EXPAND_SZ;
    if (isText)
        std::fill_n(data + value.bytes.size(),
                    std::min<std::size_t>(2, capacity - value.bytes.size()), BYTE{0});
}

}  // namespace

LSTATUS RegOpenKeyExW(HKEY parent, LPCWSTR path, DWORD options, REGSAM rights, PHKEY key) {
    desktop::Call call("RegOpenKeyExW", path, rights);
    refuseUnknown("RegOpenKeyExW", parent, options, rights);
    if (call.struck()) return failure(call, ERROR_ACCESS_DENIED);
    const std::filesystem::path folder = advapi32::keyFolder(path);
    return isFolder(folder) ? openKey({folder, rights}, key) : ERROR_FILE_NOT_FOUND;
}

LSTATUS RegCreateKeyExW(HKEY parent, LPCWSTR path, DWORD reserved, LPWSTR keyClass, DWORD options,
                        REGSAM rights, const LPSECURITY_ATTRIBUTES security, PHKEY key,
                        LPDWORD disposition) {
    desktop::Call call("RegCreateKeyExW", path, rights);
    refuseUnknown("RegCreateKeyExW", parent, options, rights);
    if (reserved || keyClass || security) desktop::refuse("RegCreateKeyExW", "argument", 1);
    if (call.struck()) return failure(call, ERROR_ACCESS_DENIED);
    const std::filesystem::path folder = advapi32::keyFolder(path);
    std::error_code error;
    const bool isNew = std::filesystem::create_directories(folder, error);
    if (error) return ERROR_ACCESS_DENIED;
    if (disposition) *disposition = isNew ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
    return openKey({folder, rights}, key);
}

LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                         LPDWORD size) {
    desktop::Call call("RegQueryValueExW", name);
    if (reserved || !size) desktop::refuse("RegQueryValueExW", "argument", 1);
    if (call.struck()) return failure(call, ERROR_ACCESS_DENIED);
    LSTATUS code = ERROR_SUCCESS;
    const auto record = usableKey("RegQueryValueExW", key, KEY_QUERY_VALUE, code);
    if (!record) return code;
    const auto value = advapi32::readValue(advapi32::valueFile(record->folder, name));
    if (!value) return ERROR_FILE_NOT_FOUND;
    const DWORD capacity = *size;
    if (type) *type = value->type;
    *size = static_cast<DWORD>(value->bytes.size());
    if (!data) return ERROR_SUCCESS;
    if (capacity < *size) return ERROR_MORE_DATA;
    deliver(*value, data, capacity);
    return ERROR_SUCCESS;
}

LSTATUS RegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data,
                       DWORD size) {
    desktop::Call call("RegSetValueExW", name, type, size);
    if (reserved) desktop::refuse("RegSetValueExW", "reserved argument", reserved);
    if (call.struck()) return failure(call, ERROR_ACCESS_DENIED);
    LSTATUS code = ERROR_SUCCESS;
    const auto record = usableKey("RegSetValueExW", key, KEY_SET_VALUE, code);
    if (!record) return code;
    const auto file = advapi32::valueFile(record->folder, name);
    if (!advapi32::writeValue(file, {type, {data, data + size}})) return ERROR_ACCESS_DENIED;
    advapi32::mirrorAutostart(record->folder, name);
    return ERROR_SUCCESS;
}

LSTATUS RegDeleteValueW(HKEY key, LPCWSTR name) {
    desktop::Call call("RegDeleteValueW", name);
    if (call.struck()) return failure(call, ERROR_ACCESS_DENIED);
    LSTATUS code = ERROR_SUCCESS;
    const auto record = usableKey("RegDeleteValueW", key, KEY_SET_VALUE, code);
    if (!record) return code;
    std::error_code error;
    const bool removed = std::filesystem::remove(advapi32::valueFile(record->folder, name), error);
    if (error) return ERROR_ACCESS_DENIED;
    if (!removed) return ERROR_FILE_NOT_FOUND;
    advapi32::mirrorAutostart(record->folder, name);
    return ERROR_SUCCESS;
}

LSTATUS RegCloseKey(HKEY key) {
    desktop::Call call("RegCloseKey");
    const std::lock_guard lock(guard);
    if (!table.remove(key))
        desktop::refuse("RegCloseKey", "key", reinterpret_cast<std::intptr_t>(key));
    desktop::closed(desktop::Object::RegistryKey);
    return ERROR_SUCCESS;
}
