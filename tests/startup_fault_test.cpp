// The start-with-Windows entry as an autostart entry of the desktop; a registry that refuses, or
// that another program changes at the worst moment.

#include "settings/startup.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <functional>
#include <thread>

#include "platform/desktop/user_folders.h"
#include "tests/sweep.h"

namespace {

constexpr WCHAR runKey[] = TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Run");
const WideText exe = TEXT("/opt/clip");
const std::string head = "[Desktop Entry]\nType=Application\n";
const std::string owned = head + "Exec=\"/opt/clip\"\n";
const std::string another = "Another startup entry uses this name. It was not overwritten.";
const std::string cannotUpdate = "Cannot update Windows startup registration.";
const std::string refused = "Windows refused the startup change.";
const std::string changed = "Startup value changed or cannot be read; try again.";
const std::string unconfirmed = "Startup changed during Save; its state could not be confirmed.";

struct Startup : testing::Test {
    Startup() {
        RegCreateKeyExW(HKEY_CURRENT_USER, runKey, 0, nullptr, 0, KEY_QUERY_VALUE | KEY_SET_VALUE,
                        nullptr, &key, nullptr);
    }
    ~Startup() override {
        std::filesystem::remove_all(entry);
        RegCloseKey(key);
    }
    void store(const std::string& text) {
        std::filesystem::remove(entry);
        if (!text.empty()) writeFile(entry, text);
    }
    std::string save(bool enable) {
        return failureOf([&] { saveStartup(exe, enable); });
    }

    HKEY key = nullptr;
    const Path entry = desktop::configFolder() / "autostart" / "QuorvelDeskClip.desktop";
};

TEST_F(Startup, isWhatTheDesktopWouldStart) {
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
        {"\n", StartupForeign},
    };
    for (const auto& [text, state] : rows) {
        SCOPED_TRACE(text);
        store(text);
        const bool isForeign = state == StartupForeign;
        const StartupView view = readStartup(exe);
        EXPECT_EQ(view.enabled, !isForeign);
        EXPECT_EQ(view.checked, state == StartupOwned);
        EXPECT_EQ(save(true), isForeign ? another : "");
        EXPECT_EQ(queryStartup(key, exe), isForeign ? StartupForeign : StartupOwned);
        EXPECT_TRUE(state == StartupAbsent || readFile(entry) == text);
        EXPECT_EQ(save(false), "");
        EXPECT_EQ(readFile(entry), isForeign ? text : "");
    }
    const ScratchFolder folder;
    writeFile(folder.path / "mine", owned);
    const std::function<void()> noFiles[] = {
        [&] { std::filesystem::create_symlink(folder.path / "mine", entry); },
        [&] { std::filesystem::create_symlink(folder.path / "nothing", entry); },
        [&] { std::filesystem::create_directory(entry); },
        [&] { mkfifo(entry.c_str(), 0600); },
    };
    for (const auto& make : noFiles) {
        std::filesystem::remove(entry);
        make();
        const auto before = std::filesystem::symlink_status(entry).type();
        EXPECT_EQ(save(true), another);
        EXPECT_EQ(save(false), "");
        EXPECT_EQ(std::filesystem::symlink_status(entry).type(), before);
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
    for (const std::size_t length : {259, 258})
        EXPECT_EQ(failureOf([&] { saveStartup(WideText(length, 'x'), true); }),
                  length == 258 ? ""
                                : "The executable path exceeds the Windows Run command limit. Move "
                                  "it to a shorter path first.");
}

TEST_F(Startup, makesTheKeyOnlyToWrite) {
    const Path folder = entry.parent_path();
    std::filesystem::remove(entry);
    {
        const FullDisk disk;
        EXPECT_EQ(save(true), refused);
    }
    EXPECT_TRUE(std::filesystem::remove(folder));  // Nothing is left in it, or it would stay.
    EXPECT_EQ(save(false), "");
    EXPECT_TRUE(readStartup(exe).enabled);
    EXPECT_FALSE(std::filesystem::exists(folder));
    writeFile(folder, "in the way");
    EXPECT_EQ(save(true), cannotUpdate);
    std::filesystem::remove(folder);
    EXPECT_EQ(save(true), "");
    StartupView view = readStartup(exe);
    EXPECT_TRUE(view.checked && view.enabled);
    failing({desktop::Fault::Fail, "RegOpenKeyExW", 1, 5}, [&] { view = readStartup(exe); });
    EXPECT_TRUE(!view.checked && !view.enabled);
    EXPECT_EQ(Path(view.hint).string(), "Cannot read Windows startup registration.");
}

TEST_F(Startup, meetsAFailureOrAnotherProgramAtTheWorstMoment) {
    const std::string gone, foreign = head + "Exec=\"x\"\n", shorter = head + "Exec=\"/opt/cli\"\n",
                            longer = head + "Exec=\"/opt/clip --settings\"\n";
    const struct {
        const char* operation;  // Right before its n-th call the entry becomes another one,
        int nth;
        DWORD code;   // or the call fails.
        bool enable;  // what is not so yet
        std::string entry, words;
        StartupState left;
    } rows[] = {
        {"RegOpenKeyExW", 1, 5, false, "", cannotUpdate, StartupOwned},
        {"RegQueryValueExW", 2, 234, false, "", changed, StartupOwned},
        {"RegQueryValueExW", 2, 2, false, "", changed, StartupOwned},
        {"RegQueryValueExW", 2, 5, true, "", "Cannot read Windows startup value.", StartupOwned},
        // Between the two reads: nothing may be deleted that is somebody else's by now.
        {"RegQueryValueExW", 2, 0, false, gone, changed, StartupAbsent},
        {"RegQueryValueExW", 2, 0, false, longer, changed, StartupForeign},
        {"RegQueryValueExW", 2, 0, false, "no entry at all", "", StartupForeign},
        {"RegQueryValueExW", 2, 0, false, shorter, "", StartupForeign},
        // Right before the change, where the last one to write wins.
        {"RegDeleteValueW", 1, 0, false, gone, refused, StartupAbsent},
        {"RegSetValueExW", 1, 0, true, foreign, "", StartupOwned},
        // Between the change and the look after it.
        {"RegQueryValueExW", 2, 0, true, gone, unconfirmed, StartupAbsent},
        {"RegQueryValueExW", 2, 0, true, foreign, unconfirmed, StartupForeign},
        {"RegQueryValueExW", 3, 0, false, foreign, unconfirmed, StartupForeign},
    };
    const auto held = desktop::openObjects();
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        store(row.enable ? "" : owned);
        const auto kind = row.code ? desktop::Fault::Fail : desktop::Fault::Stall;
        desktop::planFault({kind, row.operation, row.nth, row.code});
        std::string words;
        std::thread saving([&] { words = save(row.enable); });
        EXPECT_TRUE(desktop::waitUntil(desktop::faultStruck));
        if (!row.code) {
            store(row.entry);
            desktop::clearFaults();
        }
        saving.join();
        desktop::clearFaults();
        EXPECT_EQ(words, row.words);
        EXPECT_EQ(queryStartup(key, exe), row.left);
        EXPECT_EQ(desktop::openObjects(), held);
    }
}

}  // namespace
