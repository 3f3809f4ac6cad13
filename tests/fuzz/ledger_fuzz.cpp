// A fuzzer's target: any bytes as a ledger. What is read must be what the format says, and writing
// it and reading it again must change nothing.

#include <cstdlib>

#include "store/ledger.h"
#include "tests/retention_model.h"

namespace {

// In memory: the fuzzer writes some thousands of files a second.
struct ClipFolder : ScratchFolder {
    ClipFolder() : ScratchFolder("/dev/shm") {
        makeClips(path, {1, 2, 3});
        std::filesystem::create_directory(path / clipName(4));
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static const ClipFolder folder;
    const std::string text(reinterpret_cast<const char*>(bytes), size);
    writeFile(folder.path / "completed.txt", text);
    const Ledger ledger = readLedger(folder.path);
    Disk disk{{"completed.txt", "file " + text}};
    for (int number = 1; number <= 3; ++number) disk[clipName(number)] = "file ";
    std::deque<WideText> expected;
    for (const std::string& name : ownedIn(disk)) expected.push_back(widenBytes(name));
    if (ledger.ownedNames != expected) std::abort();
    writeLedger(folder.path, ledger.ownedNames);
    if (readLedger(folder.path).ownedNames != ledger.ownedNames) std::abort();
    return 0;
}
