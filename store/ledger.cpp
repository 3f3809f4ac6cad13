// The streams are binary and the line ends explicit, so the bytes do not depend on the library.

#include "store/ledger.h"

#include <windows.h>

#include <fstream>
#include <stdexcept>
#include <string>

#include "store/clip_name.h"

namespace {

constexpr WideView ledgerName = TEXT("completed.txt");
constexpr WideView temporaryName = TEXT("completed.txt.new");
constexpr char endOfText = 0x1A;  // Ctrl+Z, which ends a text file on this platform.

// Reads the next line without its end. Returns false if there is none. A CR is part of the line's
// end only before an LF; any other CR stays in the line, which is then not a valid name.
bool readLine(std::istream& input, std::string& line) {
    if (!std::getline(input, line)) return false;
    if (const std::size_t end = line.find(endOfText); end != std::string::npos) {
        line.resize(end);
        input.setstate(std::ios::eofbit);
    } else if (!input.eof() && line.ends_with('\r')) {
        line.pop_back();
    }
    return true;
}

bool isPlainFile(const std::filesystem::path& path) {
    const DWORD attributes = GetFileAttributesW(path.string<WCHAR>().c_str());
    return attributes != INVALID_FILE_ATTRIBUTES &&
           !(attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT));
}

// The name may be that of a link to a file of the user, and writing would change that file.
bool freeName(const std::filesystem::path& file) {
    return DeleteFileW(file.string<WCHAR>().c_str()) || GetLastError() == ERROR_FILE_NOT_FOUND;
}

void writeNames(const std::filesystem::path& file, const std::deque<WideText>& names) {
    std::ofstream output;
    if (freeName(file)) output.open(file, std::ios::binary);
    for (const WideText& name : names) {
        for (const WCHAR character : name) output.put(static_cast<char>(character));
        output << "\r\n";
    }
    // A full disk may be reported only here.
    output.close();
    if (!output)
        throw std::runtime_error(
            "Cannot write recording ownership ledger; check free space and folder permissions");
}

}  // namespace

Ledger readLedger(const std::filesystem::path& recordingsFolder) {
    Ledger ledger;
    const std::filesystem::path file = recordingsFolder / ledgerName;
    // Opening a pipe or a device may never return.
    std::error_code ignored;
    if (std::filesystem::is_other(file, ignored)) return ledger;
    std::ifstream input(file, std::ios::binary);
    for (std::string line; readLine(input, line);) {
        const WideText name = widenBytes(line);
        if (!isValidClipName(name) || !ledger.seenNames.insert(name).second) continue;
        if (isPlainFile(recordingsFolder / name)) ledger.ownedNames.push_back(name);
    }
    return ledger;
}

void writeLedger(const std::filesystem::path& recordingsFolder,
                 const std::deque<WideText>& ownedNames) {
    const std::filesystem::path temporary = recordingsFolder / temporaryName;
    writeNames(temporary, ownedNames);
    const WideText source = temporary.string<WCHAR>();
    const WideText target = (recordingsFolder / ledgerName).string<WCHAR>();
    if (!MoveFileExW(source.c_str(), target.c_str(),
                     MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
        throw std::runtime_error("Cannot replace recording ownership ledger (Windows error " +
                                 std::to_string(GetLastError()) + ")");
}
