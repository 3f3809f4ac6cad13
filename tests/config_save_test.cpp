// A save changes two values and nothing else, or nothing at all.

#include "settings/config_save.h"

#include <gtest/gtest.h>

#include "common/handle.h"
#include "tests/scratch.h"

namespace {

const std::string notSaved =
    "Cannot save config.ini. Previous shortcut kept. Check file/folder permissions and free disk "
    "space, close programs locking the file, then retry Save.";

TEST(ConfigSave, changesTheTwoValues) {
    const std::string saved = "[hotkey]\r\nmodifiers=9\r\nkey=119\r\n";
    const struct {
        std::string before, after;
    } rows[] = {
        {"; mine\r\n[hotkey]\r\nmodifiers=16\r\nkey=5\r\n[other]\r\nkey=1\r\n",
         "; mine\r\n" + saved + "[other]\r\nkey=1\r\n"},
        {saved, saved},
        {"[other]\r\n", "[other]\r\n" + saved},
        {"", saved},
    };
    const ScratchFolder folder;
    const Path file = folder.path / "config.ini";
    for (const auto& row : rows) {
        writeFile(file, row.before);
        saveConfig(file, 9, 119);
        EXPECT_EQ(readFile(file), row.after);
        EXPECT_EQ(namesIn(folder.path), std::vector<std::string>{"config.ini"});
    }
}

TEST(ConfigSave, succeedsAfterTheFileWasLocked) {
    const ScratchFolder folder;
    const Path file = folder.path / "config.ini";
    writeFile(file, "[hotkey]\r\n");
    Handle reader =
        ownHandle(CreateFileW(file.string<WCHAR>().c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                              OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    EXPECT_EQ(failureOf([&] { saveConfig(file, 1, 65); }), notSaved);
    EXPECT_EQ(readFile(file), "[hotkey]\r\n");
    EXPECT_EQ(namesIn(folder.path), std::vector<std::string>{"config.ini"});
    reader.reset();
    saveConfig(file, 1, 65);
    EXPECT_EQ(readFile(file), "[hotkey]\r\nmodifiers=1\r\nkey=65\r\n");
}

}  // namespace
