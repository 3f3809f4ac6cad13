// Links at and above the data folder, and calls that fail on the way.

#include "store/data_folder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstdlib>

#include "tests/sweep.h"

namespace {

const std::string refusedLink = "App data folder must not be a junction/symlink";

// A local application data folder of its own.
struct DataFolder : testing::Test {
    DataFolder() {
        std::filesystem::create_directory(local);
        std::filesystem::create_directory(target);
        setenv("XDG_DATA_HOME", local.c_str(), 1);
    }
    ~DataFolder() override { setenv("XDG_DATA_HOME", before.c_str(), 1); }

    const std::string before = std::getenv("XDG_DATA_HOME");
    const ScratchFolder scratch;
    const Path local = scratch.path / "local", target = scratch.path / "target";
};

TEST_F(DataFolder, followsLinksAboveItsTwoLevelsOnly) {
    const Path base = local / "Quorvel Desk Clip";
    std::filesystem::create_directory_symlink(target, base);
    EXPECT_EQ(failureOf(prepareDataFolder), refusedLink);
    std::filesystem::remove(base);
    std::filesystem::create_directory(base);
    std::filesystem::create_directory_symlink(target, base / "Recordings");
    EXPECT_EQ(failureOf(prepareDataFolder), refusedLink);
    std::filesystem::remove_all(local);
    std::filesystem::create_directory_symlink(target, local);
    EXPECT_EQ(prepareDataFolder(), std::filesystem::canonical(target) / "Quorvel Desk Clip");
}

// Neither a clip that is a pipe nor a name that the program's texts cannot hold: the folder that
// they would name instead is another one.
TEST_F(DataFolder, refusesWhatItCannotUse) {
    const Path pipe = scratch.path / "pipe", named = scratch.path / "caf\xE9";
    mkfifo(pipe.c_str(), 0600);
    writeFile(scratch.path / "empty", "");
    const std::pair<Path, std::string> clips[] = {
        {pipe, "Cannot open completed clip/data folder"},
        {target, "Cannot open completed clip/data folder"},
        {scratch.path / "empty", "Completed clip is empty or not a file"},
    };
    for (const auto& [clip, words] : clips)
        EXPECT_EQ(failureOf([&, clip = clip] { resolvePhysicalPath(clip, true); }), words);
    setenv("XDG_DATA_HOME", named.c_str(), 1);
    EXPECT_EQ(failureOf(prepareDataFolder), "LocalAppData (0x80070459)");
    setenv("XDG_DATA_HOME", local.c_str(), 1);
    std::filesystem::remove(local);
    std::filesystem::create_directory(named);
    std::filesystem::create_directory_symlink(named, local);
    EXPECT_EQ(failureOf(prepareDataFolder), "Cannot resolve physical clip path");
    std::filesystem::remove(local);
    writeFile(local, "in the way");
    EXPECT_NE(failureOf(prepareDataFolder).find("cannot create directories"), std::string::npos);
}

TEST_F(DataFolder, saysWhatFailed) {
    const struct {
        const char* operation;
        int nth;
        DWORD code;
        std::string words;
    } rows[] = {
        {"SHGetKnownFolderPath", 1, 0x80070002, "LocalAppData (0x80070002)"},
        {"GetFileAttributesW", 1, 5, refusedLink},
        {"GetFileAttributesW", 2, 5, refusedLink},
        {"CreateFileW", 1, 32, "Cannot open completed clip/data folder"},
        {"GetFileInformationByHandle", 1, 5, "Completed clip is empty or not a file"},
        {"GetFinalPathNameByHandleW", 1, 5, "Cannot resolve physical clip path"},
        {"GetFinalPathNameByHandleW", 2, 5, "Cannot resolve physical clip path"},
    };
    for (const auto& [operation, nth, code, words] : rows) {
        std::string told;
        EXPECT_EQ(failing({desktop::Fault::Fail, operation, nth, code},
                          [&] { told = failureOf(prepareDataFolder); }),
                  operation);
        EXPECT_EQ(told, words);
        EXPECT_TRUE(desktop::openObjects().empty());
    }
}

}  // namespace
