// The entry point: the order of start and exit.

#include <windows.h>

#include <stdexcept>

#include "app/application.h"
#include "app/controller.h"
#include "app/escape_hook.h"
#include "app/single_instance.h"
#include "app/tray.h"
#include "common/failure.h"
#include "common/messages.h"
#include "common/procedure_guard.h"
#include "common/resource_ids.h"
#include "common/wide_text.h"
#include "overlay/region_overlay.h"
#include "settings/config_file.h"
#include "store/data_folder.h"

namespace {

void prepareFiles() {
    dataFolder = prepareDataFolder();
    recordingsFolder = dataFolder / "Recordings";
    ensureConfigFile(configPath());
}

// Never shown. Not a message-only window, which would not receive TaskbarCreated.
void createTrayWindow() {
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = trayWindowProc;
    windowClass.hInstance = instanceHandle;
    windowClass.hIcon = LoadIconW(instanceHandle, MAKEINTRESOURCEW(IDI_PROGRAM));
    windowClass.lpszClassName = trayWindowClass;
    if (!RegisterClassW(&windowClass)) throw std::runtime_error("Tray class failed");
    trayWindow = CreateWindowExW(WS_EX_TOOLWINDOW, trayWindowClass, programTitle, WS_POPUP, 0, 0, 0,
                                 0, nullptr, nullptr, instanceHandle, nullptr);
    if (!trayWindow) throw std::runtime_error("Tray window failed");
}

// The program starts without its shortcut, too: the tray menu can record, and the settings dialog
// can choose another shortcut.
void takeShortcut() {
    try {
        loadShortcut(trayWindow, configPath(), currentShortcut);
    } catch (const std::exception& exception) {
        showNotice(exceptionText(exception), true);
    }
}

// The icon comes before the shortcut because a balloon needs it; the tip is updated afterwards.
void setUp(WideView commandTail) {
    prepareFiles();
    taskbarCreatedMessage = RegisterWindowMessageW(TEXT("TaskbarCreated"));
    createTrayWindow();
    createOverlayClass(instanceHandle, trayWindow);
    updateTrayIcon(true);
    takeShortcut();
    updateTrayIcon(false);
    if (commandTail == TEXT("--settings")) PostMessageW(trayWindow, WM_APP_OPEN_SETTINGS, 0, 0);
}

void runMessageLoop() {
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    rethrowKeptFailure();
}

// After an ordinary exit only the last line has an effect. After a failure this saves a running
// clip and removes icon, shortcut and hook.
void shutDown(HRESULT comStart) {
    stopFlag = true;
    joinWorker();
    if (IsWindow(trayWindow)) DestroyWindow(trayWindow);
    removeEscapeHook();
    if (comStart >= 0) CoUninitialize();
}

// Returns the exit code.
int runFirstInstance(WideView commandTail) {
    int exitCode = 0;
    const HRESULT comStart = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    try {
        check(comStart, "UI COM startup");
        setUp(commandTail);
        runMessageLoop();
    } catch (const std::exception& exception) {
        MessageBoxW(nullptr, exceptionText(exception).c_str(), programTitle, MB_ICONERROR);
        exitCode = 1;
    }
    shutDown(comStart);
    return exitCode;
}

}  // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, LPWSTR commandTail, int) {
    instanceHandle = instance;
    // Refused if the manifest has set the same. Either way coordinates are physical pixels.
    SetProcessDpiAwarenessContext(DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE_V2);
    activationMessage = RegisterWindowMessageW(TEXT("QuorvelDeskClip.ActivateSettings.v1"));
    const InstanceClaim claim = claimInstance();
    if (!claim.mutex) {
        showInstanceCheckFailure();
        return 1;
    }
    if (!claim.isFirst) {
        handOverToFirstInstance();
        return 0;
    }
    return runFirstInstance(commandTail);
}
