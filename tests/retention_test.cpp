// What a registration keeps and deletes, where the platform itself keeps files from being deleted.

#include "store/retention.h"

#include <gtest/gtest.h>

#include "tests/scratch.h"

namespace {

std::string registerClip(const Path& folder, const Path& clip) {
    return failureOf([&] { registerCompletedClip(folder, clip); });
}

TEST(Retention, comesBackForAClipThatWasInUse) {
    const ScratchFolder folder;
    const Path ledger = folder.path / "completed.txt";
    makeClips(folder.path, {1, 2, 3, 4, 5, 6, 7, 8, 20});  // 20 is the user's
    writeFile(ledger, ledgerOf({9, 1, 3, 2, 4}));          // 9 is gone
    const auto registerNumber = [&](int number) {
        return registerClip(folder.path, folder.path / clipName(number));
    };
    EXPECT_EQ(registerNumber(5), "");
    Handle player = play(folder.path / clipName(1));
    for (const int number : {6, 7})
        EXPECT_EQ(registerNumber(number),
                  "Could not remove an old owned clip (file may be in use)");
    EXPECT_EQ(readFile(ledger), ledgerOf({1, 3, 2, 4, 5, 6, 7}));
    player.reset();
    EXPECT_EQ(registerNumber(8), "");
    EXPECT_EQ(readFile(ledger), ledgerOf({4, 5, 6, 7, 8}));
    std::vector<std::string> left{"completed.txt"};
    for (const int number : {4, 5, 6, 7, 8, 20}) left.push_back(clipName(number));
    std::sort(left.begin(), left.end());
    EXPECT_EQ(namesIn(folder.path), left);

    for (const Path& clip :
         {folder.path / "inside" / clipName(1), folder.path / "clip.mp4", folder.path})
        EXPECT_EQ(registerClip(folder.path, clip), "Invalid completed recording name");
    const Path gone = folder.path / "gone";
    EXPECT_EQ(registerClip(gone, gone / clipName(1)), "Refusing retention in a linked folder");
}

}  // namespace
