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
    store(command);
    EXPECT_EQ(queryStartup(key, exe), StartupOwned);

    WideText otherCase = command, halfway = command;
    otherCase[1] = 'c';
    halfway[5] = 0;
    for (const WideText& text : {exe, otherCase, halfway, command + TEXT(" --settings"),
                                 command + WideText(1, 0), WideText(TEXT("")), command.substr(1)}) {
        store(text);
        EXPECT_EQ(queryStartup(key, exe), StartupForeign) << Path(text.c_str()).string();
    }
    const DWORD whole = bytesOf(command) + 2;
    const struct {
        DWORD type, bytes;
    } rows[] = {{REG_EXPAND_SZ, whole},
                {REG_BINARY, whole},
                {REG_SZ, 0},
                {REG_SZ, whole - 1},
                {REG_BINARY, whole - 2}};
    for (const auto& row : rows) {
        store(row.type, command, row.bytes);
        EXPECT_EQ(queryStartup(key, exe), StartupForeign) << row.type << ", " << row.bytes;
    }
    store(REG_SZ, WideText(32'769, 'x'), 65'538);
    EXPECT_EQ(queryStartup(key, exe), StartupForeign);
}

TEST_F(Startup, movesBetweenAbsentAndOwned) {
    for (const bool enable : {false, true, true, false, false}) {
        EXPECT_EQ(save(exe, enable), "");
        EXPECT_EQ(queryStartup(key, exe), enable ? StartupOwned : StartupAbsent);
        const StartupView view = readStartup(exe);
        EXPECT_TRUE(view.enabled && view.checked == enable);
        EXPECT_TRUE(view.hint ==
                    TEXT("If enabled, keep this portable EXE in its current location."));
    }
}

TEST_F(Startup, leavesAForeignEntryAlone) {
    store(TEXT("another.exe"));
    EXPECT_EQ(save(exe, false), "");
    EXPECT_EQ(save(exe, true), "Another startup entry uses this name. It was not overwritten.");
    EXPECT_EQ(queryStartup(key, TEXT("another.exe")), StartupForeign);
    const StartupView view = readStartup(exe);
    EXPECT_TRUE(!view.enabled && !view.checked);
    EXPECT_TRUE(view.hint.starts_with(TEXT("Startup points elsewhere (possibly an older copy).")));
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
