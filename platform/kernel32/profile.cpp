// Private profile files. Names compare without case; the first section and the first key of a name
// count.
//
// A file with the mark of UTF-16 is read and written so; in any other every byte is a character,
// whatever its code page, which keeps all of them.

#include <windows.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "platform/core/call.h"
#include "platform/core/descriptor.h"
#include "platform/core/text.h"
#include "platform/kernel32/files.h"

namespace {

using Text = std::u16string_view;

constexpr const char16_t* lineEnd = u"\r\n";
constexpr Text blanks = u" \t\v\f\x1A";  // The last one ended text files of DOS.

Text trimmed(Text text) {
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == Text::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool isSame(Text one, Text other) { return desktop::lowered(one) == desktop::lowered(other); }

// The name of the section that the line opens. It ends at the last bracket.
std::optional<Text> header(Text line) {
    const Text content = trimmed(line);
    const std::size_t end = content.rfind(u']');
    if (!content.starts_with(u'[') || end == Text::npos) return std::nullopt;
    return trimmed(content.substr(1, end - 1));
}

// The result of a search for a key in a section.
struct Match {
    bool hasSection = false;
    std::size_t sectionEnd = 0;  // after the section's last line that is not blank
    std::optional<Text> rest;    // of the key's line: from the equals sign on, empty without one
};

Match findKey(Text text, Text section, Text key) {
    Match match;
    for (std::size_t begin = 0, next = 0; begin < text.size(); begin = next) {
        // CR LF, a lone LF and a lone CR all end a line.
        const std::size_t end = std::min(text.find_first_of(lineEnd, begin), text.size());
        next = end + (text.substr(end, 2) == lineEnd ? 2 : 1);
        const Text line = text.substr(begin, end - begin);
        const auto name = header(line);
        if (name && match.hasSection) break;
        if (name) match.hasSection = isSame(*name, section);
        if (!match.hasSection || trimmed(line).empty()) continue;
        match.sectionEnd = std::min(next, text.size());
        const std::size_t keyEnd = std::min(line.find(u'='), line.size());
        if (!name && !match.rest && isSame(trimmed(line.substr(0, keyEnd)), key))
            match.rest = line.substr(keyEnd);
    }
    return match;
}

// The value without the blanks and the one pair of quotes around it; empty if there is none.
Text profileValue(Text text, Text section, Text key) {
    const Text rest = findKey(text, section, key).rest.value_or(Text());
    Text value = trimmed(rest.substr(rest.empty() ? 0 : 1));
    const bool isQuoted = value.size() >= 2 && value.front() == value.back() &&
                          (value.front() == u'"' || value.front() == u'\'');
    return isQuoted ? value.substr(1, value.size() - 2) : value;
}

// Every character that the change does not concern stays as it is.
void setProfileValue(std::u16string& text, const std::u16string& section, const std::u16string& key,
                     const std::u16string& value) {
    const auto [hasSection, sectionEnd, rest] = findKey(text, section, key);
    if (rest) {
        if (rest->empty() || trimmed(rest->substr(1)) != value)
            text.replace(static_cast<std::size_t>(rest->data() - text.data()), rest->size(),
                         u"=" + value);
        return;
    }
    const std::size_t position = hasSection ? sectionEnd : text.size();
    std::u16string lines = key + u"=" + value + lineEnd;
    if (!hasSection) lines = u"[" + section + u"]" + lineEnd + lines;
    if (position > 0 && Text(lineEnd).find(text[position - 1]) == Text::npos)
        lines = lineEnd + lines;
    text.insert(position, lines);
}

// The number that a value begins with, after a sign and in decimal, or after 0x, 0o or 0b; 0 if
// there is none. Beyond 32 bits it wraps around.
unsigned profileNumber(Text value) {
    value = trimmed(value);  // The quotes may have enclosed blanks.
    const bool isNegative = value.starts_with(u'-');
    if (isNegative || value.starts_with(u'+')) value.remove_prefix(1);
    unsigned base = 10;
    if (value.starts_with(u"0x")) base = 16;
    if (value.starts_with(u"0o")) base = 8;
    if (value.starts_with(u"0b")) base = 2;
    if (base != 10) value.remove_prefix(2);
    unsigned number = 0;
    for (const char16_t letter : value) {
        const Text digits = u"0123456789abcdef";
        const std::size_t digit = digits.find(desktop::lowered({&letter, 1}).front());
        if (digit >= base) break;
        number = number * base + static_cast<unsigned>(digit);
    }
    return isNegative ? 0 - number : number;
}

const std::string utf16Mark = "\xFF\xFE";

std::u16string decode(const std::string& bytes) {
    if (!bytes.starts_with(utf16Mark)) return {bytes.begin(), bytes.end()};
    std::u16string text(bytes.size() / 2 - 1, 0);
    std::memcpy(text.data(), bytes.data() + utf16Mark.size(), text.size() * 2);
    return text;
}

std::string encode(const std::u16string& text, bool isUtf16) {
    if (!isUtf16) return {text.begin(), text.end()};
    return utf16Mark + std::string(reinterpret_cast<const char*>(text.data()), text.size() * 2);
}

// Nothing unless all of it can be read: what is missing here would be lost in the next write.
std::optional<std::string> readAll(int file) {
    struct stat item {};
    if (fstat(file, &item) != 0) return std::nullopt;
    std::string bytes(static_cast<std::size_t>(item.st_size), 0);
    const bool isWhole = pread(file, bytes.data(), bytes.size(), 0) == item.st_size;
    return isWhole ? std::optional(bytes) : std::nullopt;
}

bool writeAll(int file, const std::string& bytes) {
    const auto length = static_cast<ssize_t>(bytes.size());
    errno = ENOSPC;  // A write that is cut off by a full disk sets none.
    return pwrite(file, bytes.data(), bytes.size(), 0) == length && ftruncate(file, length) == 0;
}

// A name without a folder would mean the system's own folder. The names and values of the program
// are ASCII, which is the same in every code page.
void refuseUnknown(const desktop::Call& call, LPCWSTR file, std::initializer_list<Text> texts) {
    call.only("file name without a folder", file[0], u'/');
    for (const Text text : texts)
        for (const char16_t unit : text) call.within("character", unit, 0x7F);
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
    std::u16string text = decode(*bytes);
    setProfileValue(text, section, key, value);
    const std::string changed = encode(text, bytes->starts_with(utf16Mark));
    return writeAll(file.get(), changed) ? ERROR_SUCCESS : kernel32::errorCode(errno);
}

}  // namespace

UINT GetPrivateProfileIntW(LPCWSTR section, LPCWSTR key, INT usual, LPCWSTR file) {
    desktop::Call call("GetPrivateProfileIntW", section, key, usual, file);
    refuseUnknown(call, file, {section, key});
    const auto fallback = static_cast<UINT>(usual);
    if (call.struck()) return fallback;
    const desktop::Descriptor opened =
        desktop::openPlainFile(desktop::toUtf8(file).c_str(), O_RDONLY);
    if (!opened || kernel32::isMarked(opened.get(), kernel32::Mark::DeniesRead)) return fallback;
    const auto bytes = readAll(opened.get());
    if (!bytes) return fallback;
    const std::u16string text = decode(*bytes);
    const Text value = profileValue(text, section, key);
    return value.empty() ? fallback : profileNumber(value);
}

BOOL WritePrivateProfileStringW(LPCWSTR section, LPCWSTR key, LPCWSTR value, LPCWSTR file) {
    desktop::Call call("WritePrivateProfileStringW", section, key, value, file);
    // Nothing waits here to be flushed; the published result of that is 0 all the same.
    if (!section && !key && !value) return FALSE;
    call.only("removal of a section or key", !section || !key || !value, false);
    refuseUnknown(call, file, {section, key, value});
    if (call.struck()) return call.fail(ERROR_WRITE_FAULT);
    if (const DWORD code = change(desktop::toUtf8(file), section, key, value))
        return call.fail(code);
    return TRUE;
}
