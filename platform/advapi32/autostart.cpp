// Autostart entries as values.

#include "platform/advapi32/autostart.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <optional>
#include <string>

#include "platform/desktop/call.h"
#include "platform/desktop/descriptor.h"
#include "platform/desktop/text.h"
#include "platform/desktop/user_folders.h"
#include "platform/kernel32/error_codes.h"

namespace advapi32 {

namespace {

std::string entryFile(LPCWSTR name) {
    const std::string title = desktop::toUtf8(name);
    if (title.empty() || title.front() == '.' || title.find('/') != title.npos)
        desktop::refuse("RegQueryValueExW", "name of a value", static_cast<int>(title.size()));
    return autostartFolder() / (title + ".desktop");
}

LSTATUS failure(const std::string& file) {
    return static_cast<LSTATUS>(kernel32::errorCode(errno, file));
}

// What a quoted argument of an Exec line cannot hold as it is. A backslash escapes the letter in
// the argument, and one more each backslash in the line; a single per cent sign is a placeholder.
struct Escape {
    char letter;
    std::string_view text;
};
constexpr Escape escapes[] = {{'\\', R"(\\\\)"}, {'"', R"(\\")"}, {'`', R"(\\`)"},
                              {'$', R"(\\$)"},   {'%', "%%"},     {'\n', R"(\n)"}};

std::string execLine(std::string_view program) {
    std::string line = "\"";
    for (const char letter : program) {
        const auto* const escape = std::ranges::find(escapes, letter, &Escape::letter);
        line += escape == std::end(escapes) ? std::string_view(&letter, 1) : escape->text;
    }
    return line + '"';
}

// Empty for a line in any other form, such as one with arguments.
std::optional<std::string> programIn(std::string_view line) {
    if (line.size() < 2) return std::nullopt;
    std::string program;
    for (std::string_view rest = line.substr(1, line.size() - 2); !rest.empty();) {
        const auto* const escape = std::ranges::find_if(
            escapes, [&](const Escape& each) { return rest.starts_with(each.text); });
        const bool isPlain = escape == std::end(escapes);
        program += isPlain ? rest.front() : escape->letter;
        rest.remove_prefix(isPlain ? 1 : escape->text.size());
    }
    return execLine(program) == line ? std::optional(program) : std::nullopt;
}

struct Entry {
    std::string exec;
    bool isOff = false;
};

std::string trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(" \t");
    return first == text.npos ? "" : text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

// Hidden is the standard's way to switch an entry off; desktops' own tools also use a key of
// theirs, such as X-GNOME-Autostart-enabled.
Entry parse(std::istream& input) {
    Entry entry;
    bool isHidden = false, isDisabled = false, inGroup = false;
    for (std::string line; std::getline(input, line);) {
        if (line.starts_with('[')) inGroup = trimmed(line) == "[Desktop Entry]";
        const std::size_t equals = line.find('=');
        if (!inGroup || equals == line.npos) continue;
        const std::string key = trimmed(line.substr(0, equals));
        const std::string value = trimmed(line.substr(equals + 1));
        if (key == "Exec") entry.exec = value;
        if (key == "Hidden") isHidden = value == "true";
        if (key.ends_with("-Autostart-enabled")) isDisabled = value == "false";
    }
    entry.isOff = isHidden || isDisabled;
    return entry;
}

Value textValue(std::u16string_view text) {
    Value value{REG_SZ, {}};
    for (const char16_t unit : text) {
        value.bytes.push_back(static_cast<BYTE>(unit));
        value.bytes.push_back(static_cast<BYTE>(unit >> 8));
    }
    return value;
}

}  // namespace

std::filesystem::path autostartFolder() { return desktop::configFolder() / "autostart"; }

LSTATUS readAutostart(LPCWSTR name, Value& value) {
    const std::string file = entryFile(name);
    struct stat item {};
    if (lstat(file.c_str(), &item) != 0) return failure(file);
    value = {REG_BINARY, {}};
    // The user put it there, and so a link, wherever it leads.
    if (!S_ISREG(item.st_mode)) return ERROR_SUCCESS;
    std::ifstream input(file);
    if (!input) return failure(file);
    const Entry entry = parse(input);
    if (entry.isOff) return ERROR_FILE_NOT_FOUND;
    const auto program = programIn(entry.exec);
    const auto path = program ? desktop::publishedPath(*program) : std::nullopt;
    if (path) value = textValue(u'"' + *path + u"\"" + u'\0');
    return ERROR_SUCCESS;
}

LSTATUS writeAutostart(LPCWSTR name, std::u16string_view command) {
    const std::string file = entryFile(name);
    const std::string program = desktop::toUtf8(command.substr(1, command.size() - 2));
    const std::string entry = "[Desktop Entry]\nType=Application\nName=" + desktop::toUtf8(name) +
                              "\nExec=" + execLine(program) + '\n';
    std::string copy = file + ".XXXXXX";
    const desktop::Descriptor output(mkostemp(copy.data(), O_CLOEXEC));
    if (!output) return failure(file);
    const auto length = static_cast<ssize_t>(entry.size());
    if (write(output.get(), entry.data(), entry.size()) == length && fsync(output.get()) == 0 &&
        rename(copy.c_str(), file.c_str()) == 0)
        return ERROR_SUCCESS;
    const LSTATUS code = failure(file);
    unlink(copy.c_str());
    return code;
}

LSTATUS removeAutostart(LPCWSTR name) {
    Value value;
    if (const LSTATUS code = readAutostart(name, value)) return code;
    const std::string file = entryFile(name);
    return unlink(file.c_str()) == 0 ? ERROR_SUCCESS : failure(file);
}

}  // namespace advapi32
