// What a registration keeps and deletes.

#include "store/retention.h"

#include <gtest/gtest.h>

#include "common/handle.h"
#include "tests/scratch.h"

namespace {

// Publishes a clip and registers it; the words of the warning, if there is one.
std::string registerClip(const Path& folder, int number) {
    makeClips(folder, {number});
    return failureOf([&] { registerCompletedClip(folder, folder / clipName(number)); });
}

std::vector<int> clipsIn(const Path& folder) {
    std::vector<int> numbers;
    for (int number = 1; number < 100; ++number)
        if (std::filesystem::exists(folder / clipName(number))) numbers.push_back(number);
    return numbers;
}

TEST(Retention, keepsTheNewestFiveOwnedClips) {
    const struct {
        const char* story;
        std::vector<int> listed, there, keptListed, keptThere;  // clip 50 is registered
    } rows[] = {
        {"no ledger yet", {}, {}, {50}, {50}},
        {"five in all", {1, 2, 3, 4}, {1, 2, 3, 4}, {1, 2, 3, 4, 50}, {1, 2, 3, 4, 50}},
        {"oldest goes, not the least, and nothing that is not listed",
         {9, 2, 3, 4, 5},
         {2, 3, 4, 5, 9, 20, 21},
         {2, 3, 4, 5, 50},
         {2, 3, 4, 5, 20, 21, 50}},
        {"left over from failures, and one that the user deleted",
         {1, 2, 3, 4, 5, 6, 7, 8},
         {1, 2, 3, 4, 6, 7, 8},
         {4, 6, 7, 8, 50},
         {4, 6, 7, 8, 50}},
        {"listed already", {1, 50, 2}, {1, 2}, {1, 50, 2}, {1, 2, 50}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.story);
        const ScratchFolder folder;
        makeClips(folder.path, row.there);
        if (!row.listed.empty()) writeFile(folder.path / "completed.txt", ledgerOf(row.listed));
        EXPECT_EQ(registerClip(folder.path, 50), "");
        EXPECT_EQ(readFile(folder.path / "completed.txt"), ledgerOf(row.keptListed));
        EXPECT_EQ(clipsIn(folder.path), row.keptThere);
        EXPECT_FALSE(std::filesystem::exists(folder.path / "completed.txt.new"));
    }
}

TEST(Retention, comesBackForAClipThatWasInUse) {
    const ScratchFolder folder;
    makeClips(folder.path, {1, 2, 3, 4});
    std::filesystem::create_directory(folder.path / clipName(9));  // left alone
    writeFile(folder.path / "completed.txt", ledgerOf({9, 1, 2, 3, 4}));
    EXPECT_EQ(registerClip(folder.path, 5), "");
    Handle player = ownHandle(CreateFileW((folder.path / clipName(1)).string<WCHAR>().c_str(),
                                          GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                          FILE_ATTRIBUTE_NORMAL, nullptr));
    for (int number = 6; number <= 7; ++number)
        EXPECT_EQ(registerClip(folder.path, number),
                  "Could not remove an old owned clip (file may be in use)");
    EXPECT_EQ(readFile(folder.path / "completed.txt"), ledgerOf({1, 2, 3, 4, 5, 6, 7}));
    player.reset();
    EXPECT_EQ(registerClip(folder.path, 8), "");
    EXPECT_EQ(clipsIn(folder.path), (std::vector{4, 5, 6, 7, 8, 9}));
}

TEST(Retention, refusesWhatIsNoClipOfTheFolder) {
    const ScratchFolder folder;
    writeFile(folder.path / "completed.txt", ledgerOf({1}));
    for (const Path& clip :
         {folder.path / "inside" / clipName(1), folder.path / "clip.mp4", folder.path})
        EXPECT_EQ(failureOf([&] { registerCompletedClip(folder.path, clip); }),
                  "Invalid completed recording name");
    const Path gone = folder.path / "gone";
    EXPECT_EQ(failureOf([&] { registerCompletedClip(gone, gone / clipName(1)); }),
              "Refusing retention in a linked folder");
    EXPECT_EQ(readFile(folder.path / "completed.txt"), ledgerOf({1}));
}

}  // namespace
