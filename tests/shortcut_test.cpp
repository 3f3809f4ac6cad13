// The shortcut: what config.ini says of it, and how it is exchanged.

#include "settings/shortcut.h"

#include <gtest/gtest.h>

#include "settings/config_file.h"
#include "tests/scratch.h"

namespace {

using Spec = std::vector<std::uint32_t>;  // number, modifiers, key

bool isFree(UINT modifiers, UINT key) {
    const TrayWindow other;
    return RegisterHotKey(other.handle, 1, modifiers | MOD_NOREPEAT, key) != 0;
}

struct Shortcut : testing::Test {
    std::string apply(std::uint32_t modifiers, std::uint32_t key) {
        return failureOf([&] { applyShortcut(window.handle, file, spec, modifiers, key); });
    }
    Spec registered() const {
        if (!spec.registered || isFree(spec.modifiers, spec.key)) return {};
        return {static_cast<std::uint32_t>(spec.id), spec.modifiers, spec.key};
    }

    const ScratchFolder folder;
    const Path file = folder.path / "config.ini";
    const TrayWindow window;
    ShortcutSpec spec;
};

TEST_F(Shortcut, isExchangedUnderTheOtherNumberOrKept) {
    for (const char* const text : {"[hotkey]\nmodifiers=16\n", "[hotkey]\nkey=124\n"}) {
        writeFile(file, text);
        EXPECT_NE(failureOf([&] { loadShortcut(window.handle, file, spec); }), "") << text;
        EXPECT_EQ((Spec{spec.modifiers, spec.key}), (Spec{6, 55}));
    }
    // The first as after a refused registration at the start; the last is only saved.
    for (const Spec& next :
         {Spec{2, 6, 55}, Spec{1, 9, 55}, Spec{2, 8, 55}, Spec{1, 8, 119}, Spec{1, 8, 119}}) {
        const Spec before = registered();
        writeFile(file, "[hotkey]\r\n");
        EXPECT_EQ(apply(next[1], next[2]), "");
        EXPECT_EQ(registered(), next);
        EXPECT_TRUE(before.empty() || before == next || isFree(before[1], before[2]));
        EXPECT_EQ(readFile(file), "[hotkey]\r\nmodifiers=" + std::to_string(next[1]) +
                                      "\r\nkey=" + std::to_string(next[2]) + "\r\n");
    }
    const std::string disallowed =
        "Use Ctrl, Alt, Shift or Win with a letter, digit, numpad key or F1-F12.";
    for (const UINT key : {8, 13, 27, 32, 37, 47, 58, 64, 91, 95, 124, 186, 255})
        EXPECT_EQ(apply(6, key), disallowed) << key;
    for (const UINT modifiers : {0, 16}) EXPECT_EQ(apply(modifiers, 65), disallowed);
    {
        const Handle reader = play(file);
        EXPECT_EQ(apply(6, 65),
                  "Cannot save config.ini. Previous shortcut kept. Check file/folder permissions "
                  "and free disk space, close programs locking the file, then retry Save.");
    }
    EXPECT_EQ(registered(), (Spec{1, 8, 119}));
    EXPECT_TRUE(isFree(6, 65));
    EXPECT_EQ(namesIn(folder.path), std::vector<std::string>{"config.ini"});
    EXPECT_EQ(Path(shortcutText(2, 255)).string(), "Ctrl+Key 255");
    for (const UINT key : {48, 57, 65, 90, 96, 111, 112, 123}) EXPECT_TRUE(isAllowedKey(key));
}

}  // namespace
