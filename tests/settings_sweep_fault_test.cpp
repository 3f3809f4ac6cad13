// A change of the shortcut, with the process ended at every single call of the platform, and with
// every call failing; and the first config.ini on a full disk.

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

#include "platform/control.h"
#include "settings/config_file.h"
#include "settings/config_save.h"
#include "settings/shortcut.h"
#include "tests/full_disk.h"
#include "tests/scratch.h"
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

struct SettingsSweep : testing::Test {
    ~SettingsSweep() override { desktop::clearFaults(); }

    const ScratchFolder folder;
    const Path file = folder.path / "config.ini";
};

bool isRegistered(std::uint32_t modifiers, std::uint32_t key) {
    const TrayWindow other;
    return RegisterHotKey(other.handle, 1, modifiers | MOD_NOREPEAT, key) == 0;
}

int saveEndingAt(const Path& file, desktop::Fault::Kind kind, int call) {
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        desktop::planFault({kind, "", call, 0, false});
        saveConfig(file, 1, 65);
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// The leftovers of all the ends before lie beside the file in each later round.
TEST_F(SettingsSweep, leavesAWholeFileWhereverTheProcessEnds) {
    for (const auto kind : {desktop::Fault::EndBefore, desktop::Fault::EndAfter}) {
        bool isNew = false;
        int call = 0;
        for (int code = desktop::plannedEndCode; code == desktop::plannedEndCode;) {
            SCOPED_TRACE(testing::Message() << "call " << ++call << ", kind " << kind);
            writeFile(file, oldText);
            code = saveEndingAt(file, kind, call);
            const std::string left = readFile(file);
            EXPECT_TRUE(left == newText || (left == oldText && !isNew)) << left;
            isNew = left == newText;
            const auto leftovers = namesIn(folder.path);
            saveConfig(file, 1, 65);
            EXPECT_EQ(readFile(file), newText);
            EXPECT_EQ(namesIn(folder.path), leftovers);
        }
        EXPECT_TRUE(isNew);
        EXPECT_GT(call, 10);
    }
}

TEST_F(SettingsSweep, keepsFileAndShortcutTogetherWhenAnyCallFails) {
    for (const bool andAllLater : {false, true}) {
        int call = 0;
        for (bool struck = true; struck;) {
            SCOPED_TRACE(testing::Message() << "call " << ++call << ", later " << andAllLater);
            const TrayWindow window;
            ShortcutSpec shortcut;
            writeFile(file, oldText);
            applyShortcut(window.handle, file, shortcut, 9, 119);
            writeFile(file, oldText);
            const auto held = desktop::openObjects();

            desktop::planFault({desktop::Fault::Fail, "", call, 0, andAllLater});
            const std::string words =
                failureOf([&] { applyShortcut(window.handle, file, shortcut, 1, 65); });
            struck = desktop::faultStruck();
            const std::string operation = desktop::struckCall();
            desktop::clearFaults();

            EXPECT_TRUE(words.empty() || words == cannotPrepare || words == cannotSave ||
                        words == unavailable)
                << words;
            // The end of the old registration cannot be enforced, nor its failure told.
            const bool isTolerated = operation == "UnregisterHotKey";
            EXPECT_EQ(words.empty(), !struck || isTolerated) << operation;
            EXPECT_EQ(readFile(file), words.empty() ? newText : oldText);
            EXPECT_EQ(shortcut.key, words.empty() ? 65u : 119u);
            EXPECT_TRUE(isRegistered(shortcut.modifiers, shortcut.key));
            if (!isTolerated && !andAllLater) {
                EXPECT_FALSE(words.empty() ? isRegistered(9, 119) : isRegistered(1, 65));
                EXPECT_EQ(desktop::openObjects(), held);
                EXPECT_EQ(namesIn(folder.path), std::vector<std::string>{"config.ini"});
            }
            if (words.empty()) continue;
            for (const std::string& name : namesIn(folder.path))
                if (name != "config.ini") std::filesystem::remove(folder.path / name);
            if (andAllLater) continue;  // Then the new registration may not have ended either.
            EXPECT_EQ(failureOf([&] { applyShortcut(window.handle, file, shortcut, 1, 65); }), "");
            EXPECT_EQ(readFile(file), newText);
        }
        EXPECT_GT(call, 8);
    }
}

TEST_F(SettingsSweep, looksForAFreeName) {
    writeFile(file, oldText);
    for (const DWORD code : {ERROR_FILE_EXISTS, ERROR_ALREADY_EXISTS}) {
        desktop::planFault({desktop::Fault::Fail, "CopyFileW", 1, code, true});
        desktop::startCallLog();
        EXPECT_EQ(failureOf([&] { saveConfig(file, 1, 65); }), cannotPrepare);
        std::vector<std::string> names;
        for (const desktop::LoggedCall& entry : desktop::callLog())
            if (entry.operation == "CopyFileW") names.push_back(entry.arguments);
        EXPECT_EQ(names.size(), 32u);
        EXPECT_EQ(std::unique(names.begin(), names.end()), names.end());
        desktop::clearFaults();
        desktop::planFault({desktop::Fault::Fail, "CopyFileW", 31, code, false});
        EXPECT_EQ(failureOf([&] { saveConfig(file, 1, 65); }), "");
        desktop::clearFaults();
    }
}

// The copy is read-only as well, and has to be writable before it can be deleted.
TEST_F(SettingsSweep, leavesNothingBesideAReadOnlyFile) {
    writeFile(file, oldText);
    std::filesystem::permissions(file, std::filesystem::perms::owner_read);
    EXPECT_EQ(failureOf([&] { saveConfig(file, 1, 65); }), cannotSave);
    EXPECT_EQ(readFile(file), oldText);
    EXPECT_EQ(namesIn(folder.path), std::vector<std::string>{"config.ini"});
}

// Neither an empty file nor half of one, which the next start would take for the user's.
TEST_F(SettingsSweep, leavesNoFirstFileThatAFullDiskCutsOff) {
    for (const rlim_t space : {0, 100}) {
        const FullDisk disk(space);
        EXPECT_EQ(failureOf([&] { ensureConfigFile(file); }), "Cannot create config");
        EXPECT_TRUE(namesIn(folder.path).empty());
    }
}

TEST_F(SettingsSweep, doesNotWaitForAPipe) {
    mkfifo(file.c_str(), 0600);
    ensureConfigFile(file);
    const TrayWindow window;
    ShortcutSpec shortcut;
    loadShortcut(window.handle, file, shortcut);
    EXPECT_EQ(shortcut.key, 55u);
    EXPECT_EQ(failureOf([&] { saveConfig(file, 1, 65); }), cannotPrepare);
}

}  // namespace
