// A fuzzer's target: any bytes as a ledger. What is read must be what the format says, and writing
// it and reading it again must change nothing.

#include <cstdlib>

#include "store/ledger.h"
#include "tests/retention_model.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static const ScratchFolder folder(memory);
    makeClips(folder.path, {1, 2, 3});
    std::filesystem::create_directory(folder.path / clipName(4));
    writeFile(folder.path / "completed.txt", {reinterpret_cast<const char*>(bytes), size});
    const Ledger ledger = readLedger(folder.path);
    std::deque<WideText> expected;
    for (const std::string& name : ownedIn(contentsOf(folder.path)))
        expected.push_back(widenBytes(name));
    if (ledger.ownedNames != expected) std::abort();
    writeLedger(folder.path, ledger.ownedNames);
    if (readLedger(folder.path).ownedNames != ledger.ownedNames) std::abort();
    return 0;
}
