// Autostart entries of the desktop.

#include "platform/advapi32/autostart.h"

#include <fstream>
#include <iterator>

#include "platform/desktop/text.h"
#include "platform/desktop/user_folders.h"

namespace advapi32 {

namespace {

// By this line an entry is known as one of these.
const std::string mark = "X-RegistryValue=Run\n";

// The text between the quotes if the value is one quoted path and nothing else.
std::string quotedPath(const Value& value) {
    std::u16string text;
    for (std::size_t at = 0; at + 1 < value.bytes.size(); at += 2)
        text += static_cast<char16_t>(value.bytes[at] | value.bytes[at + 1] << 8);
    const bool isQuoted = value.type == REG_SZ && text.size() > 3 && text.front() == u'"' &&
                          text.find(u'"', 1) == text.size() - 2 && text.back() == 0;
    return isQuoted ? desktop::toUtf8(text.substr(1, text.size() - 3)) : std::string();
}

// An argument of an Exec line: in quotes, with four letters escaped, then with its backslashes
// doubled as in any value of such a file, and with per cent signs doubled because single ones are
// placeholders.
std::string execArgument(const std::string& path) {
    std::string argument = "\"";
    for (const char letter : path) {
        switch (letter) {
        case '\\': argument += "\\\\\\\\"; break;
        case '$':
        case '`':
        case '"': argument += std::string("\\\\") + letter; break;
        case '%': argument += "%%"; break;
        default: argument += letter;
        }
    }
    return argument + '"';
}

// A link, whatever it leads to, was put there by the user, and so was all else that is no file.
bool isForeign(const std::filesystem::path& entry) {
    std::error_code ignored;
    const auto type = std::filesystem::symlink_status(entry, ignored).type();
    if (type != std::filesystem::file_type::regular)
        return type != std::filesystem::file_type::not_found;
    std::ifstream input(entry);
    const std::string text{std::istreambuf_iterator<char>(input), {}};
    return text.find('\n' + mark) == std::string::npos;
}

}  // namespace

void mirrorAutostart(const std::filesystem::path& key, LPCWSTR name) {
    if (key != keyFolder(TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Run"))) return;
    const std::filesystem::path folder = desktop::configFolder() / "autostart";
    const std::string title = desktop::toUtf8(name);
    const std::filesystem::path entry = folder / (title + ".desktop");
    if (isForeign(entry)) return;
    const auto value = readValue(valueFile(key, name));
    const std::string path = value ? quotedPath(*value) : std::string();
    std::error_code ignored;
    if (path.empty()) {
        std::filesystem::remove(entry, ignored);
        return;
    }
    std::filesystem::create_directories(folder, ignored);
    replaceFile(entry, "[Desktop Entry]\nType=Application\nName=" + title +
                           "\nExec=" + execArgument(path) + '\n' + mark);
}

}  // namespace advapi32
