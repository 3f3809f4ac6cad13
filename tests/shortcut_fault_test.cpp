// A change of the shortcut with the process ended at every call and with every call failing, and
// the first config.ini on a full disk.

#include "settings/shortcut.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <set>

#include "settings/config_file.h"
#include "settings/config_save.h"
#include "tests/sweep.h"
#include "tests/tray_window.h"

namespace {

const std::string oldText = "; mine\n[hotkey]\r\nmodifiers = 9 \r\nkey=119\n[other]\nkey=1";
const std::string newText = "; mine\n[hotkey]\r\nmodifiers =1\r\nkey=65\n[other]\nkey=1";
const std::string cannotPrepare =
    "Cannot prepare config.ini. Previous shortcut kept. Check file permissions.";
const std::string cannotSave =
    "Cannot save config.ini. Previous shortcut kept. Check file/folder permissions and free disk "
    "space, close programs locking the file, then retry Save.";
const std::string unavailable =
    "Shortcut unavailable or reserved by Windows. Previous shortcut kept.";

struct ShortcutFault : testing::Test {
    std::string save() {
        return failureOf([&] { saveConfig(file, 1, 65); });
    }

    const ScratchFolder folder;
    const Path file = folder.path / "config.ini";
    const std::vector<std::string> fileAlone{"config.ini"};
};

bool isRegistered(std::uint32_t modifiers, std::uint32_t key) {
    const TrayWindow other;
    return RegisterHotKey(other.handle, 1, modifiers | MOD_NOREPEAT, key) == 0;
}

// The copies that all the ends before have left are beside the file in each later round.
TEST_F(ShortcutFault, leavesAWholeFileWhereverTheProcessEnds) {
    bool isNew = false;
    endAtEachCall(
        10,
        [&](int call) {
            writeFile(file, oldText);
            if (call == 1) isNew = false;
        },
        [&] { save(); },
        [&](bool ranToItsEnd) {
            const std::string left = readFile(file);
            EXPECT_TRUE(left == newText || (left == oldText && !isNew && !ranToItsEnd)) << left;
            isNew = left == newText;
            const auto leftovers = namesIn(folder.path);
            EXPECT_EQ(save(), "");
            EXPECT_EQ(readFile(file), newText);
            EXPECT_EQ(namesIn(folder.path), leftovers);
        });
}

TEST_F(ShortcutFault, keepsFileAndShortcutTogetherWhenAnyCallFails) {
    for (const bool andAllLater : {false, true}) {
        std::string failed = "none yet";
        for (int call = 1; !failed.empty(); ++call) {
            SCOPED_TRACE(testing::Message() << "call " << call << ", later " << andAllLater);
            const TrayWindow window;
            ShortcutSpec shortcut;
            const auto apply = [&](std::uint32_t modifiers, std::uint32_t key) {
                return failureOf(
                    [&] { applyShortcut(window.handle, file, shortcut, modifiers, key); });
            };
            writeFile(file, oldText);
            EXPECT_EQ(apply(9, 119), "");
            writeFile(file, oldText);
            const auto held = desktop::openObjects();

            std::string words;
            failed = failing({desktop::Fault::Fail, "", call, 0, andAllLater},
                             [&] { words = apply(1, 65); });
            const bool isSaved = words.empty();
            EXPECT_TRUE(isSaved || words == cannotPrepare || words == cannotSave ||
                        words == unavailable)
                << words;
            // The end of the old registration cannot be enforced, nor its failure told.
            const bool isTolerated = failed == "UnregisterHotKey";
            EXPECT_EQ(isSaved, failed.empty() || isTolerated) << failed;
            EXPECT_EQ(readFile(file), isSaved ? newText : oldText);
            EXPECT_EQ(shortcut.key, isSaved ? 65u : 119u);
            EXPECT_TRUE(isRegistered(shortcut.modifiers, shortcut.key));
            if (!isTolerated && !andAllLater) {
                EXPECT_FALSE(isSaved ? isRegistered(9, 119) : isRegistered(1, 65));
                EXPECT_EQ(desktop::openObjects(), held);
                EXPECT_EQ(namesIn(folder.path), fileAlone);
                EXPECT_EQ(apply(1, 65), "");
                EXPECT_EQ(readFile(file), newText);
            }
            for (const std::string& name : namesIn(folder.path))
                std::filesystem::remove(folder.path / name);
            EXPECT_TRUE(call > 8 || !failed.empty());
        }
    }
}

TEST_F(ShortcutFault, looksForAFreeName) {
    writeFile(file, oldText);
    for (const DWORD code : {ERROR_FILE_EXISTS, ERROR_ALREADY_EXISTS}) {
        desktop::startCallLog();
        failing({desktop::Fault::Fail, "CopyFileW", 1, code, true},
                [&] { EXPECT_EQ(save(), cannotPrepare); });
        std::set<std::string> names;
        for (const desktop::LoggedCall& entry : desktop::callLog())
            if (entry.operation == "CopyFileW") names.insert(entry.arguments);
        EXPECT_EQ(names.size(), 32u);
        failing({desktop::Fault::Fail, "CopyFileW", 31, code}, [&] { EXPECT_EQ(save(), ""); });
    }
}

// Where an end without this would be an empty file or half of one, a copy that is read-only like
// the file, or a wait for the other end of a pipe.
TEST_F(ShortcutFault, leavesNothingBeside) {
    for (const rlim_t space : {0, 100}) {
        const FullDisk disk(space);
        EXPECT_EQ(failureOf([&] { ensureConfigFile(file); }), "Cannot create config");
        EXPECT_TRUE(namesIn(folder.path).empty());
    }
    writeFile(file, oldText);
    std::filesystem::permissions(file, std::filesystem::perms::owner_read);
    EXPECT_EQ(save(), cannotSave);
    EXPECT_EQ(readFile(file), oldText);
    EXPECT_EQ(namesIn(folder.path), fileAlone);
    std::filesystem::remove(file);
    mkfifo(file.c_str(), 0600);
    ensureConfigFile(file);
    const TrayWindow window;
    ShortcutSpec shortcut;
    loadShortcut(window.handle, file, shortcut);
    EXPECT_EQ(shortcut.key, 55u);
    EXPECT_EQ(save(), cannotPrepare);
}

}  // namespace
