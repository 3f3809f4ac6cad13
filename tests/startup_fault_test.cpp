// A registry that refuses, or that another program changes at the worst moment.

#include <gtest/gtest.h>

#include <functional>
#include <thread>

#include "platform/control.h"
#include "settings/startup.h"
#include "tests/scratch.h"

namespace {

constexpr WCHAR runKey[] = TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Run");
constexpr WCHAR valueName[] = TEXT("QuorvelDeskClip");
const WideText exe = TEXT("/opt/clip");
const WideText own = TEXT("\"/opt/clip\"");
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
        RegDeleteValueW(key, valueName);
        RegCloseKey(key);
    }
    void store(const WideText& text, DWORD type = REG_SZ, DWORD end = 2) {
        RegSetValueExW(key, valueName, 0, type, reinterpret_cast<const BYTE*>(text.c_str()),
                       static_cast<DWORD>(text.size() * 2 + end));
    }
    void storeOwnOrNone(bool isOwned) {
        RegDeleteValueW(key, valueName);
        if (isOwned) store(own);
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
};

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
    const auto vanish = [&] { RegDeleteValueW(key, valueName); };
    const auto appear = [&] { store(TEXT("x")); };
    const auto grow = [&] { store(own + TEXT(" --settings")); };
    const auto changeType = [&] { store(own, REG_EXPAND_SZ); };
    const auto loseItsEnd = [&] { store(own, REG_SZ, 0); };
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
        {"RegQueryValueExW", 2, true, false, loseItsEnd, "", StartupForeign},
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
