// A recording, from the drag to the file that is ready to paste.

#include "store/clip_name.h"
#include "tests/scenarios/user.h"

using namespace user;

TEST(Recording, endsAsAFileReadyToPaste) {
    enum Entry : UINT { Record = 1, Stop };
    atDesktop([] {
        std::filesystem::create_directories(recordings());
        makeClips(recordings(), {1, 2, 3, 4, 5, 6});
        writeFile(recordings() / "completed.txt", ledgerOf({6, 2, 1, 4, 3}));  // not 5
        const Program program;
        openMenu();
        choose(Record);
        await("the sheet", sheetIsUp);
        dragRegion({300, 310, 503, 465});
        pressShortcut();  // Does nothing now.
        openMenu();
        choose(Stop);
        awaitNotice("Finishing clip…");
        awaitNotice("Copied — paste the video file.");
        EXPECT_FALSE(sheetIsUp());
        EXPECT_FALSE(frameIsUp());
        const Path clip = pastedFile();
        const std::string name = clip.filename().string();
        EXPECT_TRUE(isValidClipName(clip.filename().string<WCHAR>())) << clip;
        const std::vector<std::string> names = clips();
        EXPECT_EQ(
            std::set(names.begin(), names.end()),
            (std::set{clipName(1), clipName(2), clipName(3), clipName(4), clipName(5), name}));
        EXPECT_EQ(readFile(recordings() / "completed.txt"), ledgerOf({2, 1, 4, 3}) + name + "\r\n");
        // The ground alone, and nothing of the sheet or the frame.
        const ClipView seen = view(recordings() / name, 202, 154);
        EXPECT_GE(seen.frames, 3);
        EXPECT_GE(*seen.lumas.begin(), 89);
        EXPECT_LE(*seen.lumas.rbegin(), 95);
        EXPECT_TRUE(othersGet({VK_ESCAPE}));
    });
}
