// The tray icon and its menu.

#include "tests/scenarios/user.h"

using namespace user;

namespace {

enum Entry : UINT { Record = 1, Stop = 2, Settings = 4, Exit = 6 };

void awaitNoMenu() {
    await("the end of the menu", [] { return !menuIsOpen(); });
}

}  // namespace

TEST(Menu, doesWhatItSays) {
    atDesktop([] {
        Program program;
        clickTray(1);
        openMenu();
        pressEsc();
        awaitNoMenu();
        openMenu();
        click(300, 900);
        awaitNoMenu();
        EXPECT_FALSE(sheetIsUp());

        openMenu();
        choose(Record);
        await("the sheet", sheetIsUp);
        dragRegion();
        openMenu();
        choose(Record);  // Greyed: nothing is chosen.
        if (menuIsOpen()) click(300, 900);
        awaitNoMenu();
        openMenu();
        choose(Stop);
        awaitNotice("Copied — paste the video file.");

        doubleClickTray();
        await("the sheet", sheetIsUp);
        pressEsc();
        await("the end of the sheet", [] { return !sheetIsUp(); });
        openMenu();
        choose(Settings);
        await("the dialog", [] { return focus() == ShortcutBox; });
        pressEsc();
        await("the end of the dialog", [] { return !settingsAreOpen(); });
        openMenu();
        choose(Exit);
        EXPECT_EQ(program.awaitEnd(), 0);
        EXPECT_EQ(clips().size(), 1u);
    });
}

TEST(Menu, comesBackWithANewShell) {
    atDesktop([] {
        const Program program;
        restartShell();
        await("the icon", [] { return trayTip() == "Quorvel Desk Clip — Ctrl+Shift+7"; });
        openMenu();
        pressEsc();
        awaitNoMenu();
    });
}
