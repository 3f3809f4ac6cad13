// The order keeps clips safe: the ledger with the new clip is on disk before the first deletion,
// and it is shortened only after the last one. A crash can leave names without files, which the
// next reading drops, but never an owned file without its name.

#include "store/retention.h"

#include <windows.h>

#include <stdexcept>

#include "store/clip_name.h"
#include "store/ledger.h"

namespace {

constexpr std::size_t maxOwnedClips = 5;

void requireClipInFolder(const std::filesystem::path& folder, const std::filesystem::path& clip) {
    if (clip.parent_path() != folder || !isValidClipName(clip.filename().string<WCHAR>()))
        throw std::runtime_error("Invalid completed recording name");
}

// INVALID_FILE_ATTRIBUTES has all bits set, so it is refused, too.
void refuseLinkedFolder(const std::filesystem::path& folder) {
    if (GetFileAttributesW(folder.string<WCHAR>().c_str()) & FILE_ATTRIBUTE_REPARSE_POINT)
        throw std::runtime_error("Refusing retention in a linked folder");
}

// Checked again: the entry may have been replaced since the ledger was read.
void deleteOwnedClip(const std::filesystem::path& path) {
    const WideText clip = path.string<WCHAR>();
    const DWORD attributes = GetFileAttributesW(clip.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) return;
    if (attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT))
        throw std::runtime_error("Retention refused a linked/non-file entry");
    if (!DeleteFileW(clip.c_str()))
        throw std::runtime_error("Could not remove an old owned clip (file may be in use)");
}

}  // namespace

void registerCompletedClip(const std::filesystem::path& recordingsFolder,
                           const std::filesystem::path& clip) {
    requireClipInFolder(recordingsFolder, clip);
    refuseLinkedFolder(recordingsFolder);
    auto [ownedNames, seenNames] = readLedger(recordingsFolder);
    const WideText name = clip.filename().string<WCHAR>();
    if (!seenNames.contains(name)) ownedNames.push_back(name);
    writeLedger(recordingsFolder, ownedNames);
    while (ownedNames.size() > maxOwnedClips) {
        deleteOwnedClip(recordingsFolder / ownedNames.front());
        ownedNames.pop_front();
    }
    writeLedger(recordingsFolder, ownedNames);
}
