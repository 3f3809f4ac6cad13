// What belongs to clips on the disk: their names, the ledger and its rule, and the copy.

#include <gtest/gtest.h>

#include <random>

#include "store/clip_name.h"
#include "store/clipboard.h"
#include "store/data_folder.h"
#include "store/retention.h"
#include "tests/retention_model.h"

namespace {

TEST(ClipName, hasExactlyOneForm) {
    const WideText example = TEXT("clip-3f2a9c1e-7b4d-4e21-9a6f-0c5d8e7b1a23.mp4");
    const Path partial = partialPath(example);
    EXPECT_EQ(partial.string(), Path(example).string() + ".partial.mp4");
    EXPECT_FALSE(isValidClipName(partial.string<WCHAR>()));
    // Upper case, the neighbors of the digits, and one whose low eight bits are a digit's.
    for (const char16_t letter : std::u16string(u"-0/:`gFCM\u0133"))
        for (std::size_t at = 0; at < example.size(); ++at) {
            WideText name = example;
            name[at] = static_cast<WCHAR>(letter);
            const std::string text = Path(name).string();
            EXPECT_EQ(isValidClipName(name), isClipName(text)) << text;
        }
}

// One change that is not the program's.
void meddle(const Path& folder, const auto& below) {
    const auto anyName = [&] { return clipName(static_cast<int>(1 + below(16))); };
    const Path clip = folder / anyName(), ledger = folder / "completed.txt";
    std::string text = readFile(ledger);
    const std::size_t at = below(text.size() + 1);
    const std::string end(1, '\0'), mark = "\xEF\xBB\xBF", longLine(100'000, 'x');
    const std::string pieces[] = {
        anyName() + "\r\n", anyName(), "\r", "\n", " ", "x", text, "\x1A", end, mark, longLine};
    const std::size_t kind = below(9);
    std::error_code ignored;
    if (kind < 3) std::filesystem::remove_all(clip);
    if (kind == 1) std::filesystem::create_directory(clip);
    if (kind == 2) std::filesystem::create_symlink("foreign.txt", clip, ignored);
    if (kind == 3) std::filesystem::rename(clip, folder / anyName(), ignored);
    if (kind == 4) std::filesystem::rename(clip, folder / "mine.mp4", ignored);
    if (kind == 5) std::filesystem::remove(ledger);
    if (kind == 6) writeFile(ledger, text.erase(at, below(60)));
    // Most of what can be wrong is wrong at the beginning or at the end.
    const std::size_t places[] = {0, text.size(), at};
    if (kind > 6) text.insert(places[below(3)], pieces[below(std::size(pieces))]);
    if (kind > 6) writeFile(ledger, text);
}

// Under Wine each step takes some milliseconds.
constexpr unsigned seeds = Path::preferred_separator == '/' ? 5'000 : 200;

TEST(Retention, neverLeavesItsRule) {
    for (unsigned seed = 1; seed <= seeds && !HasFatalFailure(); ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        std::mt19937 random(seed);
        const auto below = [&](std::size_t limit) { return random() % limit; };
        const ScratchFolder folder(memory);
        makeClips(folder.path, {1, 2, 3, 4, 5, 6, 7, 8});
        writeFile(folder.path / "foreign.txt", "foreign");
        writeFile(folder.path / "completed.txt", ledgerOf({3, 1, 4, 2, 5}));
        int newest = 8;
        for (std::size_t step = 6 + below(8); step > 0; --step) {
            if (below(2) == 0) {
                meddle(folder.path, below);
                continue;
            }
            const Path clip = folder.path / clipName(++newest);
            std::filesystem::remove_all(clip);
            writeFile(clip, "new");
            const Disk before = contentsOf(folder.path);
            ASSERT_EQ(failureOf([&] { registerCompletedClip(folder.path, clip); }), "");
            ASSERT_EQ(contentsOf(folder.path),
                      stepsOfRegistration(before, clip.filename().string()).back());
        }
    }
}

TEST(Clipboard, pathsLoseOnlyKnownPrefixes) {
    const std::pair<const char*, const char*> rows[] = {
        {"\\\\?\\C:\\", "C:\\"},
        {"\\\\?\\C:", "\\\\?\\C:"},  // six characters
        {"\\\\?\\UNC\\server\\share", "\\\\server\\share"},
        {"\\\\?\\unc\\server\\share", "\\\\?\\unc\\server\\share"},
        {"\\\\?\\Volume{0}\\x", "\\\\?\\Volume{0}\\x"},
    };
    for (const auto& [given, expected] : rows)
        EXPECT_EQ(Path(stripFinalPathPrefix(widenBytes(given))).string(), expected);
}

TEST(Clipboard, takesOnlyAFinishedClip) {
    const TrayWindow window;
    const ScratchFolder folder;
    const auto copy = [&](const std::string& name) {
        return copyClipToClipboard(window.handle, folder.path / name);
    };
    std::filesystem::create_directory(folder.path / "folder.mp4");
    writeFile(folder.path / "empty.mp4", "");
    for (const char* const name : {"clip.mov", "clip.MP4", "a.partial b.mp4", "clip.mp4"})
        writeFile(folder.path / name, "x");
    for (const char* const name :
         {"clip.mov", "clip.MP4", "a.partial b.mp4", "missing.mp4", "folder.mp4", "empty.mp4"})
        EXPECT_FALSE(copy(name)) << name;
    {
        const std::ofstream writer(folder.path / "clip.mp4", std::ios::app);
        EXPECT_FALSE(copy("clip.mp4"));
    }
    EXPECT_TRUE(copy("clip.mp4"));
}

}  // namespace
