// The functions of the embedded host, by the file that has them.

#pragma once

#include "platform/hosts/host.h"

namespace memory {

struct Desktop;

// monitor.cpp
std::vector<host::Monitor> monitors();

// input.cpp
void openEvents(Desktop& desktop);
int eventDescriptor();
bool nextEvent(host::Event& event);
void finishInput(const host::Event& event, bool taken);
POINT pointer();
bool keyIsDown(UINT key);
bool grabHotKey(UINT modifiers, UINT key);

// surface.cpp
host::Surface createSurface(const std::u16string& title);
void destroySurface(host::Surface surface);
void showSurface(host::Surface surface, const host::Placement& placement, bool raise);
void presentSurface(host::Surface surface, const host::Picture& picture);
void hideSurface(host::Surface surface);
bool focusSurface(host::Surface surface);

// picture.cpp
bool openPictures(std::uintptr_t monitor);
host::PictureState waitForPicture(DWORD milliseconds);
host::CapturedPicture readPicture(const RECT& area);

// tray.cpp
bool setTrayIcon(const host::TrayIcon* icon);
void showBalloon(const host::Balloon& balloon);

}  // namespace memory
