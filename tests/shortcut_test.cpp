// Exchanging the shortcut, and how it reads.

#include "settings/shortcut.h"

#include <gtest/gtest.h>

#include "tests/scratch.h"
#include "tests/tray_window.h"

namespace {

struct Shortcut : testing::Test {
    Shortcut() { writeFile(file, "[hotkey]\r\nmodifiers=6\r\nkey=55\r\n"); }

    std::string apply(std::uint32_t modifiers, std::uint32_t key) {
        return failureOf([&] { applyShortcut(window.handle, file, spec, modifiers, key); });
    }
    // Whether nobody has the combination.
    bool isFree(UINT modifiers, UINT key) {
        const TrayWindow other;
        return RegisterHotKey(other.handle, 1, modifiers | MOD_NOREPEAT, key) != 0;
    }

    ScratchFolder folder;
    TrayWindow window;
    Path file = folder.path / "config.ini";
    ShortcutSpec spec;
};

TEST_F(Shortcut, isExchangedUnderTheOtherNumber) {
    EXPECT_EQ(apply(6, 55), "");  // As after a refused registration at the start.
    EXPECT_TRUE(spec.registered && spec.id == 2 && !isFree(6, 55));
    for (int round = 0; round < 2; ++round) {  // The second time it is only saved.
        EXPECT_EQ(apply(9, 119), "");
        EXPECT_TRUE(spec.registered && spec.id == 1 && spec.modifiers == 9 && spec.key == 119);
        EXPECT_TRUE(isFree(6, 55) && !isFree(9, 119));
        EXPECT_EQ(readFile(file), "[hotkey]\r\nmodifiers=9\r\nkey=119\r\n");
        writeFile(file, "[hotkey]\r\nmodifiers=1\r\nkey=65\r\n");
    }
}

TEST_F(Shortcut, staysWhenTheNewOneIsRefused) {
    apply(9, 119);
    const TrayWindow other;
    ASSERT_TRUE(RegisterHotKey(other.handle, 1, 3 | MOD_NOREPEAT, 66));
    const std::string disallowed =
        "Use Ctrl, Alt, Shift or Win with a letter, digit, numpad key or F1-F12.";
    for (const UINT key : {8, 13, 27, 32, 37, 47, 58, 64, 91, 95, 124, 186, 255})
        EXPECT_EQ(apply(6, key), disallowed) << key;
    EXPECT_EQ(apply(0, 65), disallowed);
    EXPECT_EQ(apply(16, 65), disallowed);
    EXPECT_EQ(apply(3, 66), "Shortcut unavailable or reserved by Windows. Previous shortcut kept.");
    std::filesystem::remove(file);
    EXPECT_EQ(apply(6, 65),
              "Cannot prepare config.ini. Previous shortcut kept. Check file permissions.");
    EXPECT_TRUE(spec.registered && spec.id == 2 && spec.modifiers == 9 && spec.key == 119);
    EXPECT_TRUE(!isFree(9, 119) && isFree(6, 65));
}

TEST_F(Shortcut, readsAsAPersonReadsIt) {
    const struct {
        std::uint32_t modifiers, key;
        const char* text;
    } rows[] = {{15, 'A', "Ctrl+Alt+Shift+Win+A"}, {0, 119, "F8"}, {2, 255, "Ctrl+Key 255"}};
    for (const auto& [modifiers, key, text] : rows)
        EXPECT_EQ(Path(shortcutText(modifiers, key)).string(), text);
}

}  // namespace
