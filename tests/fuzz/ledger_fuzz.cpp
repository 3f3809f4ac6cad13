// A fuzzer's target: any bytes as a ledger. What is read must be what the format says, and writing
// it and reading it again must change nothing.

#include <cstdlib>

#include "store/ledger.h"
#include "tests/retention_model.h"

namespace {

struct Folder : ScratchFolder {
    Folder() {
        makeClips(path, {1, 2, 3});
        std::filesystem::create_directory(path / clipName(4));
    }
};

std::deque<WideText> wide(const std::vector<std::string>& names) {
    std::deque<WideText> texts;
    for (const std::string& name : names) texts.push_back(widenBytes(name));
    return texts;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static const Folder folder;
    const std::string text(reinterpret_cast<const char*>(bytes), size);
    const Path file = folder.path / "completed.txt";
    writeFile(file, text);
    const Ledger ledger = readLedger(folder.path);
    // The text ends at Ctrl+Z, like a file whose last line has no end.
    const std::string visible = text.substr(0, text.find('\x1A'));
    Disk disk{{"completed.txt", "file " + visible}};
    for (int number = 1; number <= 3; ++number) disk[clipName(number)] = "file ";
    if (ledger.ownedNames != wide(ownedIn(disk))) std::abort();
    writeLedger(folder.path, ledger.ownedNames);
    if (readLedger(folder.path).ownedNames != ledger.ownedNames) std::abort();
    return 0;
}
