// The start-with-Windows entry as an autostart entry of the desktop; a registry that refuses, or
// that another program changes at the worst moment.

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <functional>
#include <thread>

#include "platform/control.h"
#include "platform/desktop/user_folders.h"
#include "settings/startup.h"
#include "tests/full_disk.h"
#include "tests/scratch.h"

namespace {

constexpr WCHAR runKey[] = TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Run");
const WideText exe = TEXT("/opt/clip");
const std::string cannotUpdate = "Cannot update Windows startup registration.";
const std::string refused = "Windows refused the startup change.";
const std::string changed = "Startup value changed or cannot be read; try again.";

struct Startup : testing::Test {
    Startup() {
        RegCreateKeyExW(HKEY_CURRENT_USER, runKey, 0, nullptr, 0, KEY_QUERY_VALUE | KEY_SET_VALUE,
                        nullptr, &key, nullptr);
    }
    ~Startup() override {
        desktop::clearFaults();
        std::filesystem::remove_all(entry);
        RegCloseKey(key);
    }
    void store(const std::string& program) {
        writeFile(entry, "[Desktop Entry]\nType=Application\nExec=\"" + program + "\"\n");
    }
    void storeOwnOrNone(bool isOwned) {
        std::filesystem::remove(entry);
        if (isOwned) store("/opt/clip");
    }
    std::string save(bool enable) {
        return failureOf([&] { saveStartup(exe, enable); });
    }
    // Saves, and lets another program change the value right before the n-th call.
    std::string saveMeeting(const char* operation, int nth, bool enable,
                            const std::function<void()>& change) {
        desktop::planFault({desktop::Fault::Stall, operation, nth, 0, false});
        std::string words;
        std::thread saving([&] { words = save(enable); });
        EXPECT_TRUE(desktop::waitUntil(desktop::faultStruck));
        change();
        desktop::clearFaults();
        saving.join();
        return words;
    }

    HKEY key = nullptr;
    const Path entry = desktop::configFolder() / "autostart" / "QuorvelDeskClip.desktop";
};

const std::string another = "Another startup entry uses this name. It was not overwritten.";

TEST_F(Startup, isWhatTheDesktopWouldStart) {
    const std::string head = "[Desktop Entry]\nType=Application\n",
                      owned = head + "Exec=\"/opt/clip\"\n";
    const std::pair<std::string, StartupState> rows[] = {
        {owned, StartupOwned},
        {"# made by hand\n" + head + "Exec = \"/opt/clip\" \nHidden=false\nName=x", StartupOwned},
        {owned + "X-GNOME-Autostart-enabled=true\n[Other]\nHidden=true\n", StartupOwned},
        {owned + "Hidden=true\n", StartupAbsent},
        {owned + "X-GNOME-Autostart-enabled=false\n", StartupAbsent},
        {head + "Exec=/opt/clip\n", StartupForeign},
        {head + "Exec=\"/opt/clip\" --settings\n", StartupForeign},
        {head + "Exec=\"/opt/clip\" \"x\"\n", StartupForeign},
        {head + "Exec=\"/opt/Clip\"\n", StartupForeign},
        {head + "Exec=\"\n", StartupForeign},
        {head + "[Other]\nExec=\"/opt/clip\"\n", StartupForeign},
        {"", StartupForeign},
    };
    for (const auto& [text, state] : rows) {
        SCOPED_TRACE(text);
        writeFile(entry, text);
        const bool isForeign = state == StartupForeign;
        const StartupView view = readStartup(exe);
        EXPECT_EQ(view.enabled, !isForeign);
        EXPECT_EQ(view.checked, state == StartupOwned);
        EXPECT_EQ(save(true), isForeign ? another : "");
        EXPECT_EQ(queryStartup(key, exe), isForeign ? StartupForeign : StartupOwned);
        EXPECT_EQ(save(false), "");
        EXPECT_EQ(std::filesystem::exists(entry), isForeign);
        EXPECT_EQ(readFile(entry), isForeign ? text : "");
    }
}

TEST_F(Startup, leavesAloneWhatIsNoFile) {
    const ScratchFolder folder;
    store("/opt/clip");
    std::filesystem::rename(entry, folder.path / "mine");
    const std::function<void()> rows[] = {
        [&] { std::filesystem::create_symlink(folder.path / "mine", entry); },
        [&] { std::filesystem::create_symlink(folder.path / "nothing", entry); },
        [&] { std::filesystem::create_directory(entry); },
        [&] { mkfifo(entry.c_str(), 0600); },
    };
    for (const auto& make : rows) {
        make();
        const auto before = std::filesystem::symlink_status(entry).type();
        EXPECT_EQ(save(true), another);
        EXPECT_EQ(save(false), "");
        EXPECT_EQ(std::filesystem::symlink_status(entry).type(), before);
        std::filesystem::remove(entry);
    }
}

TEST_F(Startup, quotesWhatAnExecLineCannotHold) {
    const std::pair<WideText, std::string> rows[] = {
        {TEXT("/opt/a \u00E9=b/c"), "/opt/a \xC3\xA9=b/c"},
        {TEXT("/\"a\""), R"(/\\"a\\")"},
        {TEXT("/a\\b\\\""), R"(/a\\\\b\\\\\\")"},
        {TEXT("/$a`b"), R"(/\\$a\\`b)"},
        {TEXT("/100%f\n"), R"(/100%%f\n)"},
    };
    for (const auto& [path, line] : rows) {
        EXPECT_EQ(failureOf([&] { saveStartup(path, true); }), "");
        EXPECT_NE(readFile(entry).find("\nExec=\"" + line + "\"\n"), std::string::npos) << line;
        EXPECT_EQ(queryStartup(key, path + TEXT("x")), StartupForeign);
        EXPECT_EQ(failureOf([&] { saveStartup(path, false); }), "");
        EXPECT_FALSE(std::filesystem::exists(entry));
    }
}

TEST_F(Startup, tellsOfAnEntryThatCannotBeWritten) {
    {
        const FullDisk disk;
        EXPECT_EQ(save(true), refused);
    }
    // Nothing is left in the folder, or it would stay.
    EXPECT_TRUE(std::filesystem::remove(entry.parent_path()));
    writeFile(entry.parent_path(), "in the way");
    EXPECT_EQ(save(true), cannotUpdate);
    std::filesystem::remove(entry.parent_path());
    EXPECT_EQ(save(true), "");
}

TEST_F(Startup, saysWhatFailed) {
    const struct {
        const char* operation;
        int nth;
        DWORD code;
        bool isOwned, enable;
        std::string words;
    } rows[] = {
        {"RegOpenKeyExW", 1, 5, true, false, cannotUpdate},
        {"RegQueryValueExW", 2, 234, true, false, changed},
        {"RegQueryValueExW", 2, 2, true, false, changed},
        {"RegQueryValueExW", 2, 5, false, true, "Cannot read Windows startup value."},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.words);
        storeOwnOrNone(row.isOwned);
        const auto held = desktop::openObjects();
        desktop::planFault({desktop::Fault::Fail, row.operation, row.nth, row.code, false});
        EXPECT_EQ(save(row.enable), row.words);
        EXPECT_TRUE(desktop::faultStruck());
        desktop::clearFaults();
        EXPECT_EQ(desktop::openObjects(), held);
        EXPECT_EQ(save(row.enable), "");
    }
}

TEST_F(Startup, makesTheKeyOnlyToWrite) {
    const auto withoutKey = [&](bool enable, DWORD creation) {
        desktop::clearFaults();
        desktop::planFault({desktop::Fault::Fail, "RegOpenKeyExW", 1, ERROR_FILE_NOT_FOUND, false});
        if (creation)
            desktop::planFault({desktop::Fault::Fail, "RegCreateKeyExW", 1, creation, false});
        return save(enable);
    };
    EXPECT_EQ(withoutKey(false, 5), "");  // The creation that would fail is not tried.
    EXPECT_EQ(withoutKey(true, 5), cannotUpdate);
    EXPECT_EQ(queryStartup(key, exe), StartupAbsent);
    EXPECT_EQ(withoutKey(true, 0), "");
    EXPECT_EQ(queryStartup(key, exe), StartupOwned);
}

TEST_F(Startup, showsWhyItCannotBeRead) {
    desktop::planFault({desktop::Fault::Fail, "RegOpenKeyExW", 1, 5, false});
    const StartupView view = readStartup(exe);
    EXPECT_TRUE(!view.checked && !view.enabled);
    EXPECT_TRUE(view.hint == TEXT("Cannot read Windows startup registration."));
    desktop::clearFaults();
    desktop::planFault({desktop::Fault::Fail, "RegOpenKeyExW", 1, ERROR_FILE_NOT_FOUND, false});
    EXPECT_TRUE(readStartup(exe).enabled);
}

TEST_F(Startup, meetsAnotherProgramAtTheWorstMoment) {
    const auto vanish = [&] { std::filesystem::remove(entry); };
    const auto appear = [&] { store("x"); };
    const auto grow = [&] { store("/opt/clip --settings"); };
    const auto shrink = [&] { store("/opt/cli"); };
    const auto changeType = [&] { writeFile(entry, "no entry at all"); };
    const std::string unconfirmed =
        "Startup changed during Save; its state could not be confirmed.";
    const struct {
        const char* operation;
        int nth;
        bool isOwned, enable;
        std::function<void()> change;
        std::string words;
        StartupState left;
    } rows[] = {
        // Between the two reads: nothing may be deleted that is somebody else's by now.
        {"RegQueryValueExW", 2, true, false, vanish, changed, StartupAbsent},
        {"RegQueryValueExW", 2, true, false, grow, changed, StartupForeign},
        {"RegQueryValueExW", 2, true, false, changeType, "", StartupForeign},
        {"RegQueryValueExW", 2, true, false, shrink, "", StartupForeign},
        // Right before the change, where the last one to write wins.
        {"RegDeleteValueW", 1, true, false, vanish, refused, StartupAbsent},
        {"RegSetValueExW", 1, false, true, appear, "", StartupOwned},
        // Between the change and the look after it.
        {"RegQueryValueExW", 2, false, true, vanish, unconfirmed, StartupAbsent},
        {"RegQueryValueExW", 2, false, true, appear, unconfirmed, StartupForeign},
        {"RegQueryValueExW", 3, true, false, appear, unconfirmed, StartupForeign},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        storeOwnOrNone(row.isOwned);
        EXPECT_EQ(saveMeeting(row.operation, row.nth, row.enable, row.change), row.words);
        EXPECT_EQ(queryStartup(key, exe), row.left);
    }
}

}  // namespace
