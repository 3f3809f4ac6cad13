// The data folder and physical paths.

#include "store/data_folder.h"

#include <gtest/gtest.h>

#include "common/handle.h"
#include "tests/scratch.h"

namespace {

TEST(DataFolder, takesOnlyKnownPrefixesOffPaths) {
    const struct {
        const WCHAR *given, *expected;
    } rows[] = {
        {TEXT("\\\\?\\C:\\x\\y"), TEXT("C:\\x\\y")},
        {TEXT("\\\\?\\C:\\"), TEXT("C:\\")},
        {TEXT("\\\\?\\C:"), TEXT("\\\\?\\C:")},  // six characters
        {TEXT("\\\\?\\UNC\\server\\share"), TEXT("\\\\server\\share")},
        {TEXT("\\\\?\\unc\\server\\share"), TEXT("\\\\?\\unc\\server\\share")},
        {TEXT("\\\\?\\Volume{0}\\x"), TEXT("\\\\?\\Volume{0}\\x")},
        {TEXT("C:\\x"), TEXT("C:\\x")},
        {TEXT(""), TEXT("")},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Path(stripFinalPathPrefix(row.given)).native(), Path(row.expected).native());
}

TEST(DataFolder, isMadeOnceAndFoundAgain) {
    const Path made = prepareDataFolder();
    EXPECT_EQ(made.filename(), Path("Quorvel Desk Clip"));
    EXPECT_TRUE(std::filesystem::is_directory(made / "Recordings"));
    EXPECT_EQ(prepareDataFolder(), made);
}

TEST(DataFolder, resolvesOnlyWhatItIsAskedFor) {
    const ScratchFolder folder;
    writeFile(folder.path / "clip.mp4", "x");
    writeFile(folder.path / "empty.mp4", "");
    const auto words = [&](const Path& path, bool requireNonEmptyFile) {
        return failureOf([&] { resolvePhysicalPath(path, requireNonEmptyFile); });
    };
    EXPECT_EQ(resolvePhysicalPath(folder.path / "clip.mp4", true).filename(), Path("clip.mp4"));
    EXPECT_EQ(words(folder.path, false), "");
    EXPECT_EQ(words(folder.path / "empty.mp4", false), "");
    EXPECT_EQ(words(folder.path / "empty.mp4", true), "Completed clip is empty or not a file");
    EXPECT_EQ(words(folder.path / "missing", false), "Cannot open completed clip/data folder");
    // Without the flag that only folders need, a folder does not even open here.
    EXPECT_NE(words(folder.path, true), "");

    const Handle writing =
        ownHandle(CreateFileW((folder.path / "clip.mp4").string<WCHAR>().c_str(),
                              GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                              nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    ASSERT_TRUE(writing);
    EXPECT_EQ(words(folder.path / "clip.mp4", true), "Cannot open completed clip/data folder");
}

}  // namespace
