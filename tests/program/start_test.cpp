// Start-up, the one instance, and shutdown: message boxes, exit codes, and what lies on the disk.

#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

#include "tests/program/person.h"

using namespace person;

namespace {

const std::string givesUp =
    "0|Quorvel Clip|An older or unresponsive Quorvel Clip is running. Exit that copy from its tray "
    "menu before opening this one. Your clips and settings are kept.|64";

// Waits for the end of the program, answering a box. "exit code|title|text|icon" of what was shown.
// As long as it takes: the first of many starts outlives all others.
std::string runAndRead(const std::u16string& tail = u"") {
    Program program(tail);
    const auto hasBox = [] { return !desktop::openBoxes().empty(); };
    while (!desktop::waitUntil([&] { return program.hasEnded() || hasBox(); })) {
    }
    const std::string shown = hasBox() ? "|" + readBox() : "";
    return std::to_string(program.close()) + shown;
}

// A second start, and what it has to show.
SecondProcess secondStart(const std::string& expected) {
    return SecondProcess([expected] {
        const std::string shown = runAndRead(u"--anything");
        if (shown != expected) std::fprintf(stderr, "second start: %s\n", shown.c_str());
        return shown == expected ? 0 : 1;
    });
}

void writeFile(const Path& file, const std::string& content) {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << content;
}

}  // namespace

TEST(Start, aFirstRunMakesFoldersAndSettings) {
    atDesktop([] {
        Program program;
        ASSERT_TRUE(desktop::waitUntil([] { return !desktop::trayTip().empty(); }));
        EXPECT_FALSE(contentOf(dataFolder() / "config.ini").empty());
        EXPECT_TRUE(std::filesystem::is_directory(recordings()));
        EXPECT_EQ(program.close(), 0);
        EXPECT_TRUE(desktop::openObjects().empty());
        EXPECT_TRUE(desktop::trayTip().empty());
    });
}

TEST(Start, everyFailureThatEndsIt) {
    struct Row {
        const char* operation;
        int nth;
        DWORD code;
        const char* shown;
    };
    const Row rows[] = {
        {"CreateMutexW", 1, 6,
         "1|Quorvel Clip|Cannot check for an existing Quorvel Clip instance. No settings were "
         "changed.|64"},
        {"CoInitializeEx", 1, 0x80010106, "1|Quorvel Desk Clip|UI COM startup (0x80010106)|16"},
        {"SHGetKnownFolderPath", 1, 0x80070002, "1|Quorvel Desk Clip|LocalAppData (0x80070002)|16"},
        {"RegisterClassW", 1, 1410, "1|Quorvel Desk Clip|Tray class failed|16"},
        {"CreateWindowExW", 1, 8, "1|Quorvel Desk Clip|Tray window failed|16"},
        {"RegisterClassW", 2, 1410, "1|Quorvel Desk Clip|Overlay class registration failed|16"},
        {"CreateWindowExW", 2, 8, "1|Quorvel Desk Clip|Overlay creation failed|16"},
        {"Shell_NotifyIconW", 1, 5, "1|Quorvel Desk Clip|Cannot add tray icon|16"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.shown);
        atDesktop([&] {
            desktop::planFault({desktop::Fault::Fail, row.operation, row.nth, row.code, false});
            EXPECT_EQ(runAndRead(), row.shown);
            EXPECT_TRUE(desktop::faultStruck());
            desktop::clearFaults();
            EXPECT_TRUE(desktop::openObjects().empty());
            EXPECT_TRUE(desktop::trayTip().empty());
        });
    }
}

TEST(Start, leavesWhatIsInItsWay) {
    atDesktop([] {
        std::filesystem::create_directories(dataFolder());
        std::filesystem::create_symlink(home() / "nowhere" / "x", dataFolder() / "config.ini");
        EXPECT_EQ(runAndRead(), "1|Quorvel Desk Clip|Cannot create config|16");
        std::filesystem::remove_all(dataFolder());
        writeFile(dataFolder(), "a file in the way");
        EXPECT_EQ(runAndRead().rfind(
                      "1|Quorvel Desk Clip|filesystem error: cannot create directories", 0),
                  0u);
        EXPECT_EQ(contentOf(dataFolder()), "a file in the way");
    });
}

TEST(Start, aShortcutThatIsInvalidOrTakenLeavesTheTray) {
    const char* const invalid = "Invalid config shortcut. Use tray Settings to choose one.";
    const char* const taken =
        "Shortcut unavailable. Use tray Settings to choose another; tray Record also works.";
    struct Row {
        const char* config;
        const char* notice;
        const char* tip;
    };
    const Row rows[] = {
        {"", "", "Ctrl+Shift+7"},
        {"[hotkey]\nmodifiers=15\nkey=123", "", "Ctrl+Alt+Shift+Win+F12"},
        {"[hotkey]\nmodifiers=two\nkey=55\n", invalid, "Ctrl+Shift+7"},
        {"[hotkey]\nmodifiers=2\nkey=65\n", taken, "Ctrl+A"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.config);
        atDesktop([&] {
            writeFile(dataFolder() / "config.ini", row.config);
            desktop::takeHotKey(MOD_CONTROL, 'A');
            Program program;
            ASSERT_TRUE(desktop::waitUntil([&] {
                return desktop::trayTip() == std::string("Quorvel Desk Clip — ") + row.tip;
            })) << desktop::trayTip();
            if (*row.notice) desktop::waitForBalloon(row.notice);
            EXPECT_EQ(desktop::balloons().size(), *row.notice ? 1u : 0u);
            EXPECT_EQ(contentOf(dataFolder() / "config.ini"), row.config);
            desktop::clickTray(WM_LBUTTONDBLCLK);
            EXPECT_TRUE(desktop::waitUntil(sheetIsUp));
            EXPECT_EQ(program.close(), 0);
        });
    }
}

TEST(Start, aSecondStartMeetsARecording) {
    atDesktop([] {
        SecondProcess second = secondStart("0");
        Program program;
        startRecording({100, 100, 420, 340});
        const std::size_t before = desktop::balloons().size();
        second.run();
        desktop::waitForBalloon("Finish the current capture before opening Settings.");
        stopAndFinish();
        EXPECT_EQ(desktop::balloons().size(), before + 3);
    });
}

// The box is answered by the one loop that runs; a save has none, and the second start gives up.
TEST(Start, aSecondStartMeetsABoxAndASave) {
    atDesktop([] {
        SecondProcess atBox = secondStart("0"), atSave = secondStart(givesUp);
        Program program(u"--settings");
        const auto isInFront = [](const char* text) {
            const auto dialog = desktop::openDialog();
            return dialog &&
                   std::any_of(dialog->controls.begin(), dialog->controls.end(),
                               [&](const auto& one) { return one.focused && one.text == text; });
        };
        const auto saveShortcut = [&](const std::vector<UINT>& keys, const char* text) {
            pressKeys(keys);
            EXPECT_TRUE(desktop::waitUntil([&] { return isInFront(text); }));
            desktop::postToWindow("#32770", WM_COMMAND, IDOK);
        };
        ASSERT_TRUE(desktop::waitUntil([&] { return isInFront("Ctrl+Shift+7"); }));
        saveShortcut({VK_F1 + 4}, "F5");
        await("a box", [] { return desktop::openBoxes().size() == 1; });
        atBox.run();
        EXPECT_TRUE(readBox().starts_with("Settings not saved|"));
        ASSERT_TRUE(desktop::waitUntil([&] { return isInFront("F5"); }));
        desktop::planFault({desktop::Fault::Stall, "FlushFileBuffers"});
        saveShortcut({VK_LCONTROL, 'B'}, "Ctrl+B");
        ASSERT_TRUE(desktop::waitUntil(desktop::faultStruck));
        atSave.run();
        desktop::clearFaults();
        EXPECT_TRUE(
            desktop::waitUntil([] { return desktop::trayTip() == "Quorvel Desk Clip — Ctrl+B"; }));
        EXPECT_NE(contentOf(dataFolder() / "config.ini").find("modifiers=2\r\nkey=66\r\n"),
                  std::string::npos);
        EXPECT_EQ(program.close(), 0);
        EXPECT_TRUE(desktop::openObjects().empty());
        EXPECT_EQ(filesIn(dataFolder()).size(), 2u) << "the settings and the clips";
    });
}

TEST(Start, aSecondStartGivesUpOnASilentFirst) {
    atDesktop([] {
        SecondProcess second = secondStart(givesUp);
        // A mutex and no window.
        const HANDLE mutex = CreateMutexW(nullptr, FALSE, u"Local\\QuorvelDeskClip-v1");
        second.run();
        EXPECT_TRUE(filesIn(dataFolder()).empty()) << "a second start leaves no files";
        CloseHandle(mutex);
    });
}

// Ends with 0 where it handed over or gave up as it should. The first instance stays.
[[noreturn]] void startWithTheOthers(int line) {
    for (char byte; read(line, &byte, 1) > 0;) {
    }  // Until the parent lets everybody go.
    const std::string shown = runAndRead();
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
