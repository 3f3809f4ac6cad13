// AppState changes only here, and only on the user-interface thread. The state can change while a
// nested loop (menu, dialog) runs, so every operation reads it when it runs and none keeps a copy
// across such a loop. There is at most one job: Selecting is reached only from Idle, and the
// handler that leaves Recording or Finishing joins the thread first.

#include "app/controller.h"

#include <shellapi.h>

#include <memory>
#include <stdexcept>
#include <system_error>
#include <thread>

#include "app/application.h"
#include "app/escape_hook.h"
#include "app/recording_job.h"
#include "app/region_limits.h"
#include "app/tray.h"
#include "common/failure.h"
#include "common/messages.h"
#include "common/procedure_guard.h"
#include "overlay/region_overlay.h"
#include "settings/settings_dialog.h"
#include "store/clipboard.h"

namespace {

constexpr UINT_PTR retryTimer = 1;
constexpr UINT retryPeriod = 100;  // milliseconds
constexpr int clipboardTries = 20;

bool settingsOpen = false;  // true only in Idle
bool exitPending = false;
int clipboardRetries = 0;
std::filesystem::path pendingClip;
std::thread workerThread;

void abandonSelection() {
    removeEscapeHook();
    hideOverlay();
    appState = AppState::Idle;
}

void beginSelection() {
    if (appState != AppState::Idle || settingsOpen) return;
    POINT pointer{};  // if the call fails, the primary monitor's origin
    GetCursorPos(&pointer);
    targetMonitor = MonitorFromPoint(pointer, MONITOR_DEFAULTTONEAREST);
    // The overlay handles no keys: without the hook, Esc would not cancel a selection.
    if (!installEscapeHook()) {
        showNotice(TEXT("Could not install temporary Escape hook; recording not started."), true);
        return;
    }
    appState = AppState::Selecting;
    try {
        showOverlay(targetMonitor);
    } catch (const std::exception& exception) {
        abandonSelection();
        showNotice(exceptionText(exception), true);
    }
}

void start() {
    if (appState != AppState::Selecting) return;
    try {
        const CaptureRegion region = selectedRegion();
        if (!isRecordable(region)) {
            abandonSelection();
            showNotice(TEXT("Choose a region from 16×16 to 3840×2160 on one monitor."), true);
            return;
        }
        appState = AppState::Recording;
        stopFlag = false;  // nothing else clears it
        markRegion(region);
        workerThread = std::thread(recordingJob, region);
    } catch (const std::exception& exception) {
        abandonSelection();
        showNotice(exceptionText(exception), true);
    }
}

void stopRecording() {
    if (appState != AppState::Recording) return;
    appState = AppState::Finishing;
    stopFlag = true;
    removeEscapeHook();
    hideOverlay();
    showNotice(TEXT("Finishing clip…"), false);
}

void answerStopRequest() {
    if (appState == AppState::Selecting) {
        abandonSelection();
    } else {
        stopRecording();
    }
}

// Returns false if there is no clip, or no timer to retry the copy.
bool beginCopying(HWND window, const RecordingResult& result) {
    if (!result.error.empty()) {
        appState = AppState::Idle;
        showNotice(result.error, true);
        return false;
    }
    pendingClip = result.clip;
    appState = AppState::Copying;
    clipboardRetries = 0;
    if (!result.warning.empty()) {
        showNotice(TEXT("Clip saved; retention warning: ") + result.warning, true);
    }
    if (SetTimer(window, retryTimer, retryPeriod, nullptr)) return true;
    appState = AppState::Idle;
    showNotice(TEXT("Clip saved; clipboard retry timer unavailable. Open recent clips."), true);
    return false;
}

void endJob(HWND window, std::unique_ptr<RecordingResult> result) {
    joinWorker();
    // Both are still there if the job ended without a stop request.
    removeEscapeHook();
    hideOverlay();
    if (!beginCopying(window, *result) && exitPending) DestroyWindow(window);
}

void endCopying(HWND window, WideView notice, bool isError) {
    KillTimer(window, retryTimer);
    appState = AppState::Idle;
    showNotice(notice, isError);
    pendingClip.clear();
    if (exitPending) DestroyWindow(window);
}

void tryClipboard(HWND window) {
    // A tick queued before KillTimer still arrives.
    if (appState != AppState::Copying) return;
    if (copyClipToClipboard(window, pendingClip)) {
        endCopying(window, TEXT("Copied — paste the video file."), false);
    } else if (++clipboardRetries == clipboardTries) {
        endCopying(
            window,
            TEXT("Clip saved, but file or clipboard access failed. Open recent clips to copy "
                 "it manually."),
            true);
    }
}

// A clip that is being recorded is completed, published and copied before the window is destroyed.
void requestExit() {
    exitPending = true;
    if (appState == AppState::Recording) stopRecording();
    if (appState == AppState::Idle || appState == AppState::Selecting) DestroyWindow(trayWindow);
}

void openSettings() {
    if (raiseSettingsDialog()) return;
    if (appState != AppState::Idle || settingsOpen) {
        showNotice(TEXT("Finish the current capture before opening Settings."), false);
        return;
    }
    settingsOpen = true;
    try {
        runSettingsDialog(instanceHandle, trayWindow, configPath(), currentShortcut);
    } catch (const std::exception& exception) {
        showNotice(exceptionText(exception), true);
    }
    settingsOpen = false;
    updateTrayIcon(false);
}

void openClipsFolder() {
    const WideText folder = recordingsFolder.string<WCHAR>();
    ShellExecuteW(trayWindow, TEXT("open"), folder.c_str(), nullptr, nullptr, SW_SHOWNORMAL);
}

// The state may have changed since the menu opened and grayed its entries: each operation checks it
// again.
void runTrayMenu() {
    switch (showTrayMenu()) {
    case CommandRecord: return beginSelection();
    case CommandStop: return stopRecording();
    case CommandOpenClips: return openClipsFolder();
    case CommandSettings: return openSettings();
    case CommandExit: return requestExit();
    }
}

void answerTrayMouse(LPARAM mouseMessage) {
    switch (mouseMessage) {
    case WM_LBUTTONDBLCLK: return beginSelection();
    case WM_RBUTTONUP:
    case WM_CONTEXTMENU:
        if (settingsOpen) {
            raiseSettingsDialog();
        } else {
            runTrayMenu();
        }
    }
}

// The shell has restarted and lost the icon.
void addTrayIconAgain() {
    try {
        updateTrayIcon(true);
    } catch (...) {
        // The next broadcast tries again. The shortcut works without the icon.
    }
}

// The system may end the process right after the answer, so the join delays it until the clip is
// published.
void endSession() {
    stopFlag = true;
    removeEscapeHook();
    joinWorker();
}

void giveBackDesktop(HWND window) {
    removeEscapeHook();
    if (currentShortcut.registered) UnregisterHotKey(window, currentShortcut.id);
    removeTrayIcon(window);
    PostQuitMessage(0);
}

LRESULT handleMessage(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    // To a second start, 1 proves that this program is alive. Posting answers before the dialog
    // opens.
    if (message == activationMessage && activationMessage != 0) {
        PostMessageW(window, WM_APP_OPEN_SETTINGS, 0, 0);
        return 1;
    }
    if (message == taskbarCreatedMessage) return addTrayIconAgain(), 0;
    switch (message) {
    case WM_HOTKEY: return beginSelection(), 0;
    case WM_APP_TRAY: return answerTrayMouse(lparam), 0;
    case WM_APP_STOP_REQUEST: return answerStopRequest(), 0;
    case WM_APP_OPEN_SETTINGS: return openSettings(), 0;
    case WM_APP_REGION_SELECTED: return start(), 0;
    case WM_APP_REGION_CANCELLED:
        if (appState == AppState::Selecting) abandonSelection();
        return 0;
    case WM_APP_RECORDING_DONE:
        // Other programs of the user can post this message, too, without a result.
        if (auto* const result = reinterpret_cast<RecordingResult*>(lparam))
            endJob(window, std::unique_ptr<RecordingResult>(result));
        return 0;
    case WM_TIMER:
        if (wparam == retryTimer) tryClipboard(window);
        return 0;
    case WM_CLOSE: return requestExit(), 0;
    // A running job starts to finish while the system still queries the other programs.
    case WM_QUERYENDSESSION: stopFlag = true; return 1;
    case WM_ENDSESSION:
        if (wparam) endSession();
        return 0;
    case WM_DESTROY: return giveBackDesktop(window), 0;
    }
    return DefWindowProcW(window, message, wparam, lparam);
}

}  // namespace

LRESULT CALLBACK trayWindowProc(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    return guarded(LRESULT{0}, [&] { return handleMessage(window, message, wparam, lparam); });
}

void joinWorker() {
    if (!workerThread.joinable()) return;
    try {
        workerThread.join();
    } catch (const std::system_error&) {
        // Destroying or assigning to a joinable thread object ends the process.
        if (workerThread.joinable()) workerThread.detach();
    }
}
