// The picture of the screen, for the capture thread, on a connection of its own.

#pragma once

#include "platform/hosts/host.h"

namespace host::x11 {

bool openPictures(std::uintptr_t monitor);
PictureState waitForPicture(DWORD milliseconds);
CapturedPicture readPicture(const RECT& area);
void closePictures();

}  // namespace host::x11
