// What the registry can hold that no autostart entry can.

#include "settings/startup.h"

#include <gtest/gtest.h>

#include "tests/scratch.h"

TEST(Startup, ownsOnlyTheExactCommand) {
    const WideText key = TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Run");
    const WideText exe = TEXT("C:\\Tools\\Quorvel \u00E9\\QuorvelDeskClip.exe");
    const WideText longExe(32'765, 'x'), longerExe(32'766, 'x');
    const auto inQuotes = [](const WideText& path) { return TEXT("\"") + path + TEXT("\""); };
    const WideText command = inQuotes(exe), ended = command + WideText(1, 0);
    // A missing terminator is made up where a zero follows in memory; here none does.
    const WideText unending = command + TEXT("xy");
    const std::size_t bytes = command.size() * sizeof(WCHAR);
    const std::tuple<DWORD, WideText, std::size_t, WideText, bool> rows[] = {
        {REG_SZ, command, bytes + 2, exe, true},
        {REG_SZ, WideText(1, 0), 2, exe, false},
        {REG_SZ, ended + TEXT("x"), bytes + 6, exe, false},
        {REG_SZ, ended, bytes + 4, exe, false},
        {REG_SZ, ended, bytes + 3, exe, false},
        {REG_EXPAND_SZ, command, bytes + 2, exe, false},
        {REG_BINARY, command, bytes + 2, exe, false},
        {REG_SZ, command, 0, exe, false},
        {REG_SZ, unending, bytes, exe, false},
        {REG_SZ, unending, bytes + 2, exe, false},
        {REG_SZ, inQuotes(longExe), 65'536, longExe, true},
        {REG_SZ, inQuotes(longerExe), 65'538, longerExe, false},
    };
    for (const auto& [type, text, size, path, owned] : rows) {
        SCOPED_TRACE(std::to_string(size));
        RegSetKeyValueW(HKEY_CURRENT_USER, key.c_str(), TEXT("QuorvelDeskClip"), type, text.c_str(),
                        static_cast<DWORD>(size));
        EXPECT_EQ(readStartup(path).checked, owned);
        EXPECT_EQ(failureOf([&] { saveStartup(path, true); }),
                  owned ? "" : "Another startup entry uses this name. It was not overwritten.");
    }
    EXPECT_EQ(failureOf([&] { saveStartup(longerExe, false); }), "");
    RegDeleteKeyValueW(HKEY_CURRENT_USER, key.c_str(), TEXT("QuorvelDeskClip"));
    EXPECT_TRUE(readStartup(exe).enabled);
}
