#include "app/application.h"

AppState appState = AppState::Idle;
ShortcutSpec currentShortcut;
HMONITOR targetMonitor = nullptr;
std::atomic<bool> stopFlag = false;
HINSTANCE instanceHandle = nullptr;
HWND trayWindow = nullptr;
UINT activationMessage = 0;
UINT taskbarCreatedMessage = 0;
std::filesystem::path dataFolder;
std::filesystem::path recordingsFolder;

std::filesystem::path configPath() { return dataFolder / "config.ini"; }
