// Private profile files.
//
// A file with the mark of UTF-16 is read and written so; in any other every byte stands for itself,
// whatever its code page, which keeps all of them.

#include <windows.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <optional>

#include "platform/desktop/call.h"
#include "platform/desktop/descriptor.h"
#include "platform/desktop/text.h"
#include "platform/kernel32/attributes.h"
#include "platform/kernel32/error_codes.h"
#include "platform/kernel32/profile_text.h"
#include "platform/kernel32/sharing.h"

namespace {

struct Profile {
    bool isUtf16 = false;
    std::u16string text;
};

const std::string utf16Mark = "\xFF\xFE";

unsigned byteAt(const std::string& bytes, std::size_t index) {
    return static_cast<unsigned char>(bytes[index]);
}

Profile decode(const std::string& bytes) {
    Profile profile{bytes.starts_with(utf16Mark), {}};
    if (!profile.isUtf16) {
        for (std::size_t at = 0; at < bytes.size(); ++at)
            profile.text += static_cast<char16_t>(byteAt(bytes, at));
        return profile;
    }
    for (std::size_t at = 2; at + 1 < bytes.size(); at += 2)
        profile.text += static_cast<char16_t>(byteAt(bytes, at) | byteAt(bytes, at + 1) << 8);
    return profile;
}

std::string encode(const Profile& profile) {
    std::string bytes = profile.isUtf16 ? utf16Mark : "";
    for (const char16_t unit : profile.text) {
        bytes += static_cast<char>(unit & 0xFF);
        if (profile.isUtf16) bytes += static_cast<char>(unit >> 8);
    }
    return bytes;
}

// Nothing unless all of it can be read: what is missing here would be lost in the next write.
std::optional<std::string> readAll(int file) {
    std::string bytes;
    char part[4096];
    for (;;) {
        const ssize_t length = pread(file, part, sizeof part, static_cast<off_t>(bytes.size()));
        if (length < 0) return std::nullopt;
        if (length == 0) return bytes;
        bytes.append(part, static_cast<std::size_t>(length));
    }
}

bool writeAll(int file, const std::string& bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t length =
            pwrite(file, bytes.data() + done, bytes.size() - done, static_cast<off_t>(done));
        if (length < 0) return false;
        done += static_cast<std::size_t>(length);
    }
    return ftruncate(file, static_cast<off_t>(bytes.size())) == 0;
}

// A name without a folder would mean the system's own folder.
std::string profilePath(const char* operation, LPCWSTR name) {
    const std::string path = desktop::toUtf8(name);
    if (!path.starts_with('/')) desktop::refuse(operation, "file name without a folder", 1);
    return path;
}

// The names and values of the program are ASCII, which is the same in every code page.
void refuseForeign(const char* operation, std::u16string_view text) {
    for (const char16_t unit : text)
        if (unit >= 0x80) desktop::refuse(operation, "character", unit);
}

// 0, or the code of the reason why the file cannot be written.
DWORD change(const std::string& path, LPCWSTR section, LPCWSTR key, LPCWSTR value) {
    struct stat item {};
    if (stat(path.c_str(), &item) == 0 && kernel32::isReadOnly(item)) return ERROR_ACCESS_DENIED;
    const desktop::Descriptor file = desktop::openPlainFile(path.c_str(), O_RDWR | O_CREAT);
    if (!file) return kernel32::errorCode(errno, path);
    if (!kernel32::shareFile(file.get(), GENERIC_READ | GENERIC_WRITE,
                             FILE_SHARE_READ | FILE_SHARE_WRITE))
        return ERROR_SHARING_VIOLATION;
    const auto bytes = readAll(file.get());
    if (!bytes) return kernel32::errorCode(errno);
    Profile profile = decode(*bytes);
    profile.text = kernel32::withProfileValue(profile.text, section, key, value);
    return writeAll(file.get(), encode(profile)) ? ERROR_SUCCESS : kernel32::errorCode(errno);
}

}  // namespace

UINT GetPrivateProfileIntW(LPCWSTR section, LPCWSTR key, INT usual, LPCWSTR file) {
    desktop::Call call("GetPrivateProfileIntW", section, key, usual, file);
    const auto fallback = static_cast<UINT>(usual);
    if (call.struck()) return fallback;
    refuseForeign("GetPrivateProfileIntW", section);
    const std::string path = profilePath("GetPrivateProfileIntW", file);
    const desktop::Descriptor opened = desktop::openPlainFile(path.c_str(), O_RDONLY);
    if (!opened || kernel32::isMarked(opened.get(), kernel32::Mark::DeniesRead)) return fallback;
    const auto bytes = readAll(opened.get());
    if (!bytes) return fallback;
    const auto value = kernel32::profileValue(decode(*bytes).text, section, key);
    return value && !value->empty() ? kernel32::profileNumber(*value) : fallback;
}

BOOL WritePrivateProfileStringW(LPCWSTR section, LPCWSTR key, LPCWSTR value, LPCWSTR file) {
    desktop::Call call("WritePrivateProfileStringW", section, key, value, file);
    // Nothing is held back here that could be flushed; the published result of that is 0 all the
    // same.
    if (!section && !key && !value) return FALSE;
    if (!section || !key || !value)
        desktop::refuse("WritePrivateProfileStringW", "removal of a section or key", 1);
    for (const LPCWSTR text : {section, key, value})
        refuseForeign("WritePrivateProfileStringW", text);
    if (call.struck()) return call.fail(ERROR_WRITE_FAULT);
    const std::string path = profilePath("WritePrivateProfileStringW", file);
    if (const DWORD code = change(path, section, key, value)) return call.fail(code);
    return TRUE;
}
