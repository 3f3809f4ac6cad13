// Start-up that fails, and second starts that meet a busy first one: message boxes, exit codes, and
// what is on the disk.

#include <sys/wait.h>
#include <unistd.h>

#include <map>

#include "demo/person.h"
#include "platform/control.h"
#include "tests/scenarios/native.h"

using namespace user;

namespace {

const std::string givesUp =
    "0|Quorvel Clip|An older or unresponsive Quorvel Clip is running. Exit that copy from its tray "
    "menu before opening this one. Your clips and settings are kept.";

void clickBox() {
    for (const desktop::ShownWindow& window : desktop::windows())
        if (box().starts_with(window.title + "|"))
            return click(window.bounds.right - 56, window.bounds.bottom - 23);
}

}  // namespace

TEST(Start, everyFailureThatEndsIt) {
    struct Row {
        const char* operation;
        int nth;
        DWORD code;
        const char* shown;
        UINT icon = MB_ICONERROR;
    };
    const Row rows[] = {
        {"CreateMutexW", 1, 6,
         "1|Quorvel Clip|Cannot check for an existing Quorvel Clip instance. No settings were "
         "changed.",
         MB_ICONINFORMATION},
        {"CoInitializeEx", 1, 0x80010106, "1|Quorvel Desk Clip|UI COM startup (0x80010106)"},
        {"SHGetKnownFolderPath", 1, 0x80070002, "1|Quorvel Desk Clip|LocalAppData (0x80070002)"},
        {"RegisterClassW", 1, 1410, "1|Quorvel Desk Clip|Tray class failed"},
        {"CreateWindowExW", 1, 8, "1|Quorvel Desk Clip|Tray window failed"},
        {"RegisterClassW", 2, 1410, "1|Quorvel Desk Clip|Overlay class registration failed"},
        {"CreateWindowExW", 2, 8, "1|Quorvel Desk Clip|Overlay creation failed"},
        {"Shell_NotifyIconW", 1, 5, "1|Quorvel Desk Clip|Cannot add tray icon"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.shown);
        atDesktop([&] {
            desktop::planFault({desktop::Fault::Fail, row.operation, row.nth, row.code, false});
            EXPECT_EQ(runToItsEnd(), row.shown);
            EXPECT_TRUE(
                person::callsOf("MessageBoxW").at(0).ends_with(", " + std::to_string(row.icon)));
            EXPECT_TRUE(desktop::faultStruck());
            desktop::clearFaults();
            EXPECT_TRUE(desktop::openObjects().empty());
            EXPECT_EQ(trayTip(), "");
        });
    }
}

TEST(Start, leavesWhatIsInItsWay) {
    atDesktop([] {
        std::filesystem::create_directories(dataFolder());
        std::filesystem::create_symlink("nowhere/x", dataFolder() / "config.ini");
        EXPECT_EQ(runToItsEnd(), "1|Quorvel Desk Clip|Cannot create config");
        std::filesystem::remove_all(dataFolder());
        writeFile(dataFolder(), "a file in the way");
        EXPECT_TRUE(runToItsEnd().starts_with(
            "1|Quorvel Desk Clip|filesystem error: cannot create directories"));
        EXPECT_EQ(readFile(dataFolder()), "a file in the way");
    });
}

// The box is answered by the one loop that runs; a save has none, and the second start gives up.
TEST(Start, aSecondStartMeetsABoxAndASave) {
    atDesktop([] {
        SecondStart atBox, atSave;
        Program program("--settings");
        await("the dialog", [] { return focus() == ShortcutBox; });
        const auto saveShortcut = [&](const std::vector<UINT>& keys, const std::string& text) {
            press(keys);
            await("the shortcut", [&] { return control(ShortcutBox).text == text; });
            clickControl(Save);
        };
        saveShortcut({VK_F1 + 4}, "F5");
        await("a box", [] { return !box().empty(); });
        EXPECT_EQ(atBox.run(), "0");
        clickBox();
        await("the dialog", [] { return focus() == Save; });
        tabTo(ShortcutBox);
        desktop::planFault({desktop::Fault::Stall, "FlushFileBuffers"});
        saveShortcut({VK_LCONTROL, 'B'}, "Ctrl+B");
        await("the save", desktop::faultStruck);
        EXPECT_EQ(atSave.run(), givesUp);
        desktop::clearFaults();
        await("the tip", [] { return trayTip() == "Quorvel Desk Clip — Ctrl+B"; });
        EXPECT_NE(readFile(dataFolder() / "config.ini").find("modifiers=2\r\nkey=66\r\n"),
                  std::string::npos);
        EXPECT_EQ(program.close(), 0);
        EXPECT_TRUE(desktop::openObjects().empty());
        EXPECT_EQ(namesIn(dataFolder()).size(), 2u) << "the settings and the clips";
    });
}

// Ends with 0 where it handed over or gave up as it should. The first instance stays.
[[noreturn]] void startWithTheOthers(int line) {
    for (char one; read(line, &one, 1) > 0;) {
    }  // Until the parent lets everybody go.
    const std::string shown = runToItsEnd();
    _exit(shown == "0" || shown == givesUp ? 0 : 1);
}

TEST(Start, aHundredStartsLeaveOneFirstInstance) {
    atDesktop([] {
        int line[2];
        ASSERT_EQ(pipe(line), 0);
        std::map<int, int> ends;  // how many by exit code, -1 for a signal
        for (int start = 0; start < 100; ++start) {
            if (fork() != 0) continue;
            close(line[1]);
            startWithTheOthers(line[0]);
        }
        close(line[1]);
        const auto takeEnd = [&] {
            int status = 0;
            wait(&status);
            ++ends[WIFEXITED(status) ? WEXITSTATUS(status) : -1];
        };
        for (int start = 0; start < 99; ++start) takeEnd();
        DWORD first = 0;
        GetWindowThreadProcessId(FindWindowW(u"QuorvelDeskClip", nullptr), &first);
        ASSERT_NE(first, 0u);
        kill(static_cast<pid_t>(first), SIGKILL);
        takeEnd();
        EXPECT_EQ(ends, (std::map<int, int>{{0, 99}, {-1, 1}}));
    });
}
