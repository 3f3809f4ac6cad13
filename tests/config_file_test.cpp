// The first config.ini and the shortcut that is read from it.

#include "settings/config_file.h"

#include <gtest/gtest.h>

#include "tests/scratch.h"
#include "tests/tray_window.h"

namespace {

const std::string invalid = "Invalid config shortcut. Use tray Settings to choose one.";
const std::string taken =
    "Shortcut unavailable. Use tray Settings to choose another; tray Record also works.";

TEST(ConfigFile, isWrittenOnceAndReadsBack) {
    const TrayWindow window;
    const ScratchFolder folder;
    const Path file = folder.path / "config.ini";
    ensureConfigFile(file);
    EXPECT_EQ(readFile(file), "; Use tray Settings to change the shortcut.\r\n"
                              "; Modifiers: Alt=1 Ctrl=2 Shift=4 Win=8; add them.\r\n"
                              "; Key: Windows virtual-key decimal (7=55, F8=119).\r\n"
                              "[hotkey]\r\nmodifiers=6\r\nkey=55\r\n");
    ShortcutSpec shortcut{1, 65};
    loadShortcut(window.handle, file, shortcut);
    EXPECT_TRUE(shortcut.registered && shortcut.modifiers == 6 && shortcut.key == 55);
    for (const char* const mine : {"", "[hotkey]\nkey=0\n"}) {
        writeFile(file, mine);
        ensureConfigFile(file);
        EXPECT_EQ(readFile(file), mine);
    }
    EXPECT_EQ(failureOf([&] { ensureConfigFile(folder.path / "missing" / "config.ini"); }),
              "Cannot create config");
}

TEST(ConfigFile, givesOnlyValidShortcutsAndKeepsATakenOneForDisplay) {
    const struct {
        std::string text, words;
        std::uint32_t modifiers, key;
    } rows[] = {
        {"", "", 6, 55},
        {"[other]\nkey=70\n", "", 6, 55},
        {"[hotkey]\nmodifiers=15\nkey=96\n", "", 15, 96},
        {"[hotkey]\nmodifiers=1\nkey=123\n", "", 1, 123},
        {"[hotkey]\nmodifiers=0\n", invalid, 6, 55},
        {"[hotkey]\nmodifiers=16\n", invalid, 6, 55},
        {"[hotkey]\nmodifiers=Ctrl\n", invalid, 6, 55},
        {"[hotkey]\nmodifiers=1\nkey=124\n", invalid, 6, 55},
        {"[hotkey]\nmodifiers=9\nkey=70\n", taken, 9, 70},
    };
    const TrayWindow other;
    ASSERT_TRUE(RegisterHotKey(other.handle, 1, 9 | MOD_NOREPEAT, 70));
    const ScratchFolder folder;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        const TrayWindow window;
        const Path file = folder.path / "config.ini";
        writeFile(file, row.text);
        ShortcutSpec shortcut;
        EXPECT_EQ(failureOf([&] { loadShortcut(window.handle, file, shortcut); }), row.words);
        EXPECT_EQ(shortcut.registered, row.words.empty());
        EXPECT_TRUE(shortcut.modifiers == row.modifiers && shortcut.key == row.key);
        EXPECT_EQ(readFile(file), row.text);
    }
}

}  // namespace
