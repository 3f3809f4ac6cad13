// The data folder and physical paths.

#include "store/data_folder.h"

#include <gtest/gtest.h>

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

TEST(DataFolder, resolvesOnlyWhatItIsAskedFor) {
    const ScratchFolder folder;
    const Path clip = folder.path / "clip.mp4", empty = folder.path / "empty.mp4";
    writeFile(clip, "x");
    writeFile(empty, "");
    const auto words = [&](const Path& path, bool requireNonEmptyFile) {
        return failureOf([&] { resolvePhysicalPath(path, requireNonEmptyFile); });
    };
    EXPECT_EQ(resolvePhysicalPath(clip, true).filename(), Path("clip.mp4"));
    EXPECT_EQ(words(folder.path, false), "");
    EXPECT_EQ(words(empty, false), "");
    EXPECT_EQ(words(empty, true), "Completed clip is empty or not a file");
    EXPECT_EQ(words(folder.path / "missing", false), "Cannot open completed clip/data folder");
    // Without the flag that only folders need, a folder does not even open here.
    EXPECT_NE(words(folder.path, true), "");

    const Handle writing =
        ownHandle(CreateFileW(clip.string<WCHAR>().c_str(), GENERIC_READ | GENERIC_WRITE,
                              FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL, nullptr));
    ASSERT_TRUE(writing);
    EXPECT_EQ(words(clip, true), "Cannot open completed clip/data folder");
}

}  // namespace
