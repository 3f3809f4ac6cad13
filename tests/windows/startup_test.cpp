// The start-with-Windows entry against the registry.

#include "settings/startup.h"

#include <gtest/gtest.h>

#include "tests/scratch.h"

namespace {

constexpr WCHAR runKey[] = TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Run");
constexpr WCHAR valueName[] = TEXT("QuorvelDeskClip");
const WideText exe = TEXT("C:\\Tools\\Quorvel \u00E9\\QuorvelDeskClip.exe");
const WideText command = TEXT("\"") + exe + TEXT("\"");

// The value under the Run key, put there as raw bytes and taken away again.
struct Startup : testing::Test {
    Startup() {
        RegCreateKeyExW(HKEY_CURRENT_USER, runKey, 0, nullptr, 0, KEY_QUERY_VALUE | KEY_SET_VALUE,
                        nullptr, &key, nullptr);
        RegDeleteValueW(key, valueName);
    }
    ~Startup() override {
        RegDeleteValueW(key, valueName);
        RegCloseKey(key);
    }
    void store(DWORD type, const WideText& text, DWORD bytes) {
        ASSERT_EQ(RegSetValueExW(key, valueName, 0, type,
                                 reinterpret_cast<const BYTE*>(text.c_str()), bytes),
                  ERROR_SUCCESS);
    }
    void store(const WideText& text) { store(REG_SZ, text, bytesOf(text) + 2); }
    static DWORD bytesOf(const WideText& text) { return static_cast<DWORD>(text.size() * 2); }
    std::string save(const WideText& path, bool enable) {
        return failureOf([&] { saveStartup(path, enable); });
    }

    HKEY key = nullptr;
};

TEST_F(Startup, ownsOnlyTheExactCommand) {
    EXPECT_EQ(queryStartup(key, exe), StartupAbsent);
    WideText otherCase = command, halfway = command;
    otherCase[1] = 'c';
    halfway[5] = 0;
    for (const WideText& text : {exe, otherCase, halfway, command + TEXT(" --settings"),
                                 command + WideText(1, 0), WideText(TEXT("")), command.substr(1)}) {
        store(text);
        EXPECT_EQ(queryStartup(key, exe), StartupForeign) << Path(text.c_str()).string();
    }
    // A missing terminator is made up where a zero follows in memory; here none does.
    const WideText unending = command + TEXT("xy");
    const DWORD whole = bytesOf(command) + 2;
    const struct {
        DWORD type;
        WideText text;
        DWORD bytes;
        StartupState state;
    } rows[] = {
        {REG_SZ, command, whole, StartupOwned},
        {REG_EXPAND_SZ, command, whole, StartupForeign},
        {REG_BINARY, command, whole, StartupForeign},
        {REG_SZ, command, 0, StartupForeign},
        {REG_SZ, command + WideText(1, 0), whole + 1, StartupForeign},
        {REG_SZ, unending, whole - 2, StartupForeign},
        {REG_SZ, unending, whole, StartupForeign},
    };
    for (const auto& row : rows) {
        store(row.type, row.text, row.bytes);
        EXPECT_EQ(queryStartup(key, exe), row.state) << row.type << ", " << row.bytes;
    }
    // 65536 bytes are looked at, and no more.
    for (const std::size_t length : {32'765, 32'766}) {
        const WideText longExe(length, 'x');
        store(TEXT("\"") + longExe + TEXT("\""));
        EXPECT_EQ(queryStartup(key, longExe), length == 32'765 ? StartupOwned : StartupForeign);
    }
}

// With a key that may not do what the row must not need.
TEST_F(Startup, readsAndWritesOnlyWhatItMust) {
    const auto apply = [&](REGSAM rights, bool enable) {
        HKEY limited = nullptr;
        RegOpenKeyExW(HKEY_CURRENT_USER, runKey, 0, rights, &limited);
        const std::string words = failureOf([&] { applyStartup(limited, exe, enable); });
        RegCloseKey(limited);
        return words;
    };
    const std::string refused = "Windows refused the startup change.";
    const struct {
        StartupState found;
        bool enable;
        std::string words;
    } rows[] = {
        {StartupAbsent, false, ""},
        {StartupAbsent, true, refused},
        {StartupOwned, true, ""},
        {StartupOwned, false, refused},
        {StartupForeign, true, "Another startup entry uses this name. It was not overwritten."},
        {StartupForeign, false, ""},
    };
    for (const auto& row : rows) {
        RegDeleteValueW(key, valueName);
        if (row.found != StartupAbsent) store(row.found == StartupOwned ? command : exe);
        EXPECT_EQ(apply(KEY_QUERY_VALUE, row.enable), row.words) << row.found;
        EXPECT_EQ(queryStartup(key, exe), row.found);
        EXPECT_EQ(apply(KEY_SET_VALUE, row.enable), "Cannot read Windows startup value.");
    }
}

TEST_F(Startup, refusesAPathThatCouldNotStart) {
    EXPECT_EQ(save(WideText(259, 'x'), true), "The executable path exceeds the Windows Run command "
                                              "limit. Move it to a shorter path first.");
    EXPECT_EQ(queryStartup(key, exe), StartupAbsent);
    EXPECT_EQ(save(WideText(258, 'x'), true), "");
    EXPECT_EQ(queryStartup(key, WideText(258, 'x')), StartupOwned);
    // What stands there already is never measured.
    store(TEXT("\"") + WideText(300, 'x') + TEXT("\""));
    EXPECT_EQ(save(WideText(300, 'x'), true), "");
}

}  // namespace
