// The registry's place on the disk: a folder for each key, a file for each value, all names in
// lower case.
//
// A file holds the type in four bytes, the lowest first, and then the value's bytes.

#include "platform/advapi32/registry_files.h"

#include <fcntl.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

#include "platform/desktop/call.h"
#include "platform/desktop/descriptor.h"
#include "platform/desktop/text.h"
#include "platform/desktop/user_folders.h"

namespace advapi32 {

namespace {

constexpr std::size_t typeBytes = 4;

}  // namespace

std::filesystem::path keyFolder(LPCWSTR path) {
    std::string name = desktop::toUtf8(desktop::lowered(path));
    for (char& letter : name) {
        if (letter == '/' || letter == '.') desktop::refuse("RegOpenKeyExW", "letter", letter);
        if (letter == '\\') letter = '/';
    }
    return desktop::configFolder() / "quorvel-desk-clip-registry" / name;
}

std::filesystem::path valueFile(const std::filesystem::path& key, LPCWSTR name) {
    const std::string text = desktop::toUtf8(desktop::lowered(name));
    if (text.empty() || text.front() == '.' || text.find('/') != std::string::npos)
        desktop::refuse("RegQueryValueExW", "name of a value", static_cast<int>(text.size()));
    // The extension keeps a value apart from a key of the same name.
    return key / (text + ".value");
}

std::optional<Value> readValue(const std::filesystem::path& file) {
    std::ifstream input(file, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(input), {}};
    if (!input.is_open() || bytes.size() < typeBytes) return std::nullopt;
    Value value;
    for (std::size_t index = typeBytes; index-- > 0;)
        value.type = value.type << 8 | static_cast<BYTE>(bytes[index]);
    value.bytes.assign(bytes.begin() + typeBytes, bytes.end());
    return value;
}

bool writeValue(const std::filesystem::path& file, const Value& value) {
    std::string bytes;
    for (std::size_t index = 0; index < typeBytes; ++index)
        bytes += static_cast<char>(value.type >> (8 * index));
    bytes.append(value.bytes.begin(), value.bytes.end());
    return replaceFile(file, bytes);
}

bool replaceFile(const std::filesystem::path& file, const std::string& bytes) {
    std::string path = file.string() + ".XXXXXX";
    const desktop::Descriptor copy(mkostemp(path.data(), O_CLOEXEC));
    if (!copy) return false;
    const auto length = static_cast<ssize_t>(bytes.size());
    const bool written = write(copy.get(), bytes.data(), bytes.size()) == length &&
                         fsync(copy.get()) == 0 && rename(path.c_str(), file.c_str()) == 0;
    if (!written) unlink(path.c_str());
    return written;
}

}  // namespace advapi32
