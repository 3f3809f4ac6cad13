// The dim sheet: what makes a window look translucent, and its going traceless, on a display where
// nothing else blends windows.

#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>

#include "platform/hosts/x11/display.h"

namespace host::x11 {

struct Sheet {
    explicit Sheet(std::unique_ptr<SharedImage> below);  // what the screen showed before the sheet
    ~Sheet();

    // Target = source over what is below, with that opacity.
    void blend(const std::uint32_t* source, int stride, BYTE opacity, SharedImage& target) const;

    const std::unique_ptr<SharedImage> below;
};

// Notes how a row of the sheet differs from what lay below, before the sheet is taken off.
void rememberSheet(const SharedImage& below, const SharedImage& shown, POINT at);
// Waits until that row no longer shows the sheet.
void waitForSheetToGo();

}  // namespace host::x11
