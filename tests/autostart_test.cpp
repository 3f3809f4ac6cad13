// The start-with-Windows entry as an autostart entry of the desktop.

#include "settings/startup.h"

#include <gtest/gtest.h>

#include "platform/core/user_folders.h"
#include "tests/scratch.h"

namespace {

std::string save(const WideText& path, bool enable) {
    return failureOf([&] { saveStartup(path, enable); });
}

Path entryFile() {
    save(TEXT("/x"), true);
    return desktop::configFolder() / "autostart" / "QuorvelDeskClip.desktop";
}

TEST(Autostart, isWhatTheDesktopWouldStart) {
    const WideText exe = TEXT("/opt/clip");
    const std::string head = "[Desktop Entry]\nType=Application\n";
    const std::string owned = head + "Exec=\"/opt/clip\"\n";
    const std::pair<std::string, StartupState> rows[] = {
        {owned, StartupOwned},
        {"# made by hand\n" + head + "Exec = \"/opt/clip\" \nHidden=false\nName=x", StartupOwned},
        {owned + "X-GNOME-Autostart-enabled=true\n[Other]\nHidden=true\n", StartupOwned},
        {owned + "Hidden=true\n", StartupAbsent},
        {owned + "X-GNOME-Autostart-enabled=false\n", StartupAbsent},
        {head + "Exec=/opt/clip\n", StartupForeign},
        {head + "Exec=\"/opt/clip\" --settings\n", StartupForeign},
        {head + "Exec='/opt/clip'\n", StartupForeign},
        {head + "Exec=\"/opt/Clip\"\n", StartupForeign},
        {head + "[Other]\nExec=\"/opt/clip\"\n", StartupForeign},
        {"\n", StartupForeign},
    };
    const Path entry = entryFile();
    for (const auto& [text, state] : rows) {
        SCOPED_TRACE(text);
        writeFile(entry, text);
        const bool isForeign = state == StartupForeign;
        const StartupView view = readStartup(exe);
        EXPECT_EQ(view.enabled, !isForeign);
        EXPECT_EQ(view.checked, state == StartupOwned);
        EXPECT_EQ(save(exe, true).empty(), !isForeign);
        EXPECT_EQ(readStartup(exe).checked, !isForeign);
        EXPECT_TRUE(state == StartupAbsent || readFile(entry) == text);
        EXPECT_EQ(save(exe, false), "");
        EXPECT_EQ(readFile(entry), isForeign ? text : "");
    }
}

TEST(Autostart, quotesWhatAnExecLineCannotHold) {
    const std::pair<WideText, std::string> rows[] = {
        {TEXT("/opt/a \u00E9=b/c"), "/opt/a \xC3\xA9=b/c"},
        {TEXT("/a\\b\\\""), R"(/a\\\\b\\\\\\")"},
        {TEXT("/$a`b"), R"(/\\$a\\`b)"},
        {TEXT("/100%f\n"), R"(/100%%f\n)"},
        {WideText(258, 'x'), std::string(258, 'x')},
    };
    const Path entry = entryFile();
    for (const auto& [path, line] : rows) {
        std::filesystem::remove(entry);
        EXPECT_EQ(save(path, true), "");
        EXPECT_TRUE(readFile(entry).ends_with("\nExec=\"" + line + "\"\n")) << line;
        EXPECT_FALSE(readStartup(path + TEXT("x")).checked);
        EXPECT_EQ(save(path, false), "");
        EXPECT_FALSE(std::filesystem::exists(entry));
    }
    EXPECT_EQ(
        save(WideText(259, 'x'), true),
        "The executable path exceeds the Windows Run command limit. Move it to a shorter path "
        "first.");
}

}  // namespace
