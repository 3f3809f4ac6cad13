// The ledger's format: what is read of it, and its bytes as written. What is in its way: see the
// user's files.

#include "store/ledger.h"

#include <gtest/gtest.h>

#include "tests/scratch.h"

namespace {

std::vector<int> numbers(const auto& names) {
    std::vector<int> found;
    for (const WideText& name : names)
        found.push_back(std::stoi(Path(name).string().substr(29, 12)));
    return found;
}

TEST(Ledger, readsWhatIsWholeAndSkipsTheRest) {
    const ScratchFolder folder;
    makeClips(folder.path, {1, 2, 3});
    std::filesystem::create_directory(folder.path / clipName(4));
    const std::string one = clipName(1), two = clipName(2), three = clipName(3);
    std::string upper = three;
    upper.replace(upper.size() - 3, 3, "MP4");
    const struct {
        std::string bytes;
        std::vector<int> owned, seen;
    } rows[] = {
        {"", {}, {}},
        {one + "\r\n" + two + "\r\n", {1, 2}, {1, 2}},
        {one + "\n" + two + "\n", {1, 2}, {1, 2}},
        {two + "\r\n" + one, {2, 1}, {1, 2}},   // no last line end
        {one + "\r\n" + two + "\r", {1}, {1}},  // a lone CR is no line end
        {one + "\r\n" + two + "\x1A\r\n" + three + "\r\n", {1, 2}, {1, 2}},
        {one + "\r\n" + two + "\r\x1A\n", {1}, {1}},
        {"\xEF\xBB\xBF" + one + "\r\n" + two + "\r\n", {2}, {2}},
        {one + " \r\n\r\n " + two + "\r\n" + upper + "\r\n" + std::string(45, '\xE9') + "\n",
         {},
         {}},
        {std::string(100'000, 'x') + "\n" + one + "\n", {1}, {1}},
        // The first is gone, the second a folder: seen, not owned.
        {clipName(9) + "\n" + clipName(4) + "\n" + one + "\n", {1}, {1, 4, 9}},
        {std::string("\0", 1) + one + "\n" + two + "\n", {2}, {2}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.bytes.substr(0, 200)));
        writeFile(folder.path / "completed.txt", row.bytes);
        const Ledger ledger = readLedger(folder.path);
        EXPECT_EQ(numbers(ledger.ownedNames), row.owned);
        EXPECT_EQ(numbers(ledger.seenNames), row.seen);
    }
}

// The user's own file stays that has been linked to the new list's name.
TEST(Ledger, isReplacedAsAWhole) {
    const ScratchFolder folder;
    makeClips(folder.path, {1});
    std::filesystem::create_hard_link(folder.path / clipName(1), folder.path / "completed.txt.new");
    for (const std::vector<int>& owned : {std::vector{7, 5}, std::vector{3}}) {
        std::deque<WideText> names;
        for (const int number : owned) names.push_back(widenBytes(clipName(number)));
        writeLedger(folder.path, names);
        EXPECT_EQ(readFile(folder.path / "completed.txt"), ledgerOf(owned));
    }
    EXPECT_EQ(readFile(folder.path / clipName(1)), "1");
    EXPECT_TRUE(readLedger(folder.path / "missing").seenNames.empty());
}

}  // namespace
