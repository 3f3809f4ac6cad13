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

constexpr Text lineEnd = u"\r\n";
constexpr Text blanks = u" \t\v\f\x1A";  // The last one ended text files of DOS.

Text trimmed(Text text) {
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == Text::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool isSame(Text one, Text other) { return desktop::lowered(one) == desktop::lowered(other); }

// CR LF, a lone LF and a lone CR all end a line.
struct Line {
    std::size_t begin, end, next;  // without its end; `next` follows it
};

Line lineAt(Text text, std::size_t begin) {
    const std::size_t end = std::min(text.find_first_of(u"\r\n", begin), text.size());
    const bool isPair = text.substr(end, 2) == lineEnd;
    return {begin, end, std::min(end + (isPair ? 2 : 1), text.size())};
}

// The name of the section that the line opens. It ends at the last bracket.
std::optional<Text> header(Text line) {
    const Text content = trimmed(line);
    const std::size_t end = content.rfind(u']');
    if (!content.starts_with(u'[') || end == Text::npos) return std::nullopt;
    return trimmed(content.substr(1, end - 1));
}

// The result of a search for a key; positions in the text.
struct Match {
    bool hasSection = false;
    std::size_t sectionEnd = 0;  // after the section's last line that is not blank
    bool hasKey = false;
    bool hasEquals = false;
    std::size_t valueBegin = 0, valueEnd = 0;  // all after the equals sign or the bare key
};

void lookAtLine(Match& match, Text text, const Line& line, Text key) {
    const Text content = text.substr(line.begin, line.end - line.begin);
    if (trimmed(content).empty()) return;
    match.sectionEnd = line.next;
    const std::size_t keyEnd = std::min(content.find(u'='), content.size());
    if (match.hasKey || !isSame(trimmed(content.substr(0, keyEnd)), key)) return;
    match.hasKey = true;
    match.hasEquals = keyEnd < content.size();
    match.valueBegin = line.begin + keyEnd + (match.hasEquals ? 1 : 0);
    match.valueEnd = line.end;
}

Match find(Text text, Text section, Text key) {
    Match match;
    for (Line line = lineAt(text, 0); line.begin < text.size(); line = lineAt(text, line.next)) {
        if (const auto name = header(text.substr(line.begin, line.end - line.begin))) {
            if (match.hasSection) break;
            match.hasSection = isSame(*name, section);
            match.sectionEnd = line.next;
        } else if (match.hasSection) {
            lookAtLine(match, text, line, key);
        }
    }
    return match;
}

template <typename... Parts>
std::u16string joined(Parts... parts) {
    std::u16string text;
    ((text += parts), ...);
    return text;
}

bool endsLine(Text text) { return text.empty() || text.back() == u'\n' || text.back() == u'\r'; }

std::u16string withLines(Text text, std::size_t position, Text lines) {
    const Text before = text.substr(0, position);
    return joined(before, endsLine(before) ? Text() : lineEnd, lines, text.substr(position));
}

// The value without the blanks and the one pair of quotes around it.
std::optional<std::u16string> profileValue(Text text, Text section, Text key) {
    const Match match = find(text, section, key);
    if (!match.hasKey) return std::nullopt;
    Text value = trimmed(text.substr(match.valueBegin, match.valueEnd - match.valueBegin));
    const bool isQuoted = value.size() >= 2 && value.front() == value.back() &&
                          (value.front() == u'"' || value.front() == u'\'');
    if (isQuoted) value = value.substr(1, value.size() - 2);
    return std::u16string(value);
}

// The text with that value. Every character that the change does not concern stays as it is.
std::u16string withProfileValue(Text text, Text section, Text key, Text value) {
    const Match match = find(text, section, key);
    const std::u16string entry = joined(key, u"=", value, lineEnd);
    if (!match.hasSection)
        return withLines(text, text.size(), joined(u"[", section, u"]", lineEnd, entry));
    if (!match.hasKey) return withLines(text, match.sectionEnd, entry);
    std::u16string changed(text);
    const std::size_t length = match.valueEnd - match.valueBegin;
    if (!match.hasEquals || trimmed(text.substr(match.valueBegin, length)) != value)
        changed.replace(match.valueBegin, length, joined(match.hasEquals ? u"" : u"=", value));
    return changed;
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

struct Profile {
    bool isUtf16 = false;
    std::u16string text;
};

const std::string utf16Mark = "\xFF\xFE";

Profile decode(const std::string& bytes) {
    Profile profile{bytes.starts_with(utf16Mark), {}};
    if (profile.isUtf16) {
        profile.text.resize(bytes.size() / 2 - 1);
        std::memcpy(profile.text.data(), bytes.data() + 2, profile.text.size() * 2);
    } else {
        for (const unsigned char byte : bytes) profile.text += char16_t{byte};
    }
    return profile;
}

std::string encode(const Profile& profile) {
    const auto& text = profile.text;
    if (!profile.isUtf16) return std::string(text.begin(), text.end());
    return utf16Mark + std::string(reinterpret_cast<const char*>(text.data()), text.size() * 2);
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
    Profile profile = decode(*bytes);
    profile.text = withProfileValue(profile.text, section, key, value);
    return writeAll(file.get(), encode(profile)) ? ERROR_SUCCESS : kernel32::errorCode(errno);
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
    const auto value = profileValue(decode(*bytes).text, section, key);
    return value && !value->empty() ? profileNumber(*value) : fallback;
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
