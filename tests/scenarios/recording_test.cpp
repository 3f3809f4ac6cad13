// A recording, from the drag to the file that is ready to paste.

#include "store/clip_name.h"
#include "tests/scenarios/user.h"

using namespace user;

TEST(Recording, endsAsAFileReadyToPaste) {
    atDesktop([] {
        const Program program;
        startRecording({300, 310, 503, 465});
        pressShortcut();  // Does nothing now.
        EXPECT_EQ(clips().size(), 1u);
        EXPECT_NE(clips().at(0).find(".partial"), std::string::npos);
        pressEsc();
        awaitNotice("Finishing clip…");
        awaitNotice("Copied — paste the video file.");
        EXPECT_FALSE(sheetIsUp() || frameIsUp());
        ASSERT_EQ(clips().size(), 1u);
        const Path clip = recordings() / clips()[0];
        EXPECT_TRUE(isValidClipName(clip.filename().string<WCHAR>())) << clip;
        EXPECT_EQ(readFile(recordings() / "completed.txt"), clip.filename().string() + "\r\n");
        EXPECT_TRUE(std::filesystem::equivalent(pastedFile(), clip)) << pastedFile();
        // The ground alone, and nothing of the sheet or the frame.
        const ClipView seen = view(clip, 202, 154);
        EXPECT_GE(seen.frames, 3);
        EXPECT_TRUE(seen.darkest >= 89 && seen.brightest <= 95)
            << seen.darkest << ' ' << seen.brightest;
        EXPECT_TRUE(othersGet({VK_ESCAPE}));
    });
}

TEST(Recording, keepsTheNewestFiveAndWhatIsTheUsers) {
    atDesktop([] {
        std::filesystem::create_directories(recordings());
        makeClips(recordings(), {1, 2, 3, 4, 5, 6});
        std::filesystem::rename(recordings() / clipName(2), recordings() / "mine.mp4");
        writeFile(recordings() / "completed.txt", ledgerOf({6, 2, 1, 4, 3}));  // not 5
        const Program program;
        startRecording();
        stopRecording();
        startRecording();
        const std::string newest = stopRecording().filename().string();
        const std::vector<std::string> names = clips();
        for (const std::string& name :
             {clipName(1), clipName(3), clipName(4), clipName(5), std::string("mine.mp4"), newest})
            EXPECT_TRUE(std::ranges::count(names, name)) << name;
        EXPECT_EQ(names.size(), 7u);
        EXPECT_TRUE(readFile(recordings() / "completed.txt").starts_with(ledgerOf({1, 4, 3})));
    });
}
