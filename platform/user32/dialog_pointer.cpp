// The pointer in a dialog: its controls, the caption and the caption's buttons.

#include "platform/user32/dialog.h"
#include "platform/user32/look.h"
#include "platform/user32/mouse.h"

namespace user32 {

namespace {

// Texts take no clicks.
int placeAt(const Dialog& dialog, POINT at) {
    const RECT caption = captionOf(dialog);
    if (gdi::contains(look::closeButton(caption), at)) return onClose;
    if (canMinimize() && gdi::contains(minimizeButton(caption), at)) return onMinimize;
    if (gdi::contains(caption, at)) return onCaption;
    for (std::size_t index = 0; index < dialog.controls.size(); ++index) {
        const Control& control = dialog.controls[index];
        if (isTabStop(control) && gdi::contains(areaOf(dialog, control), at))
            return static_cast<int>(index);
    }
    return nowhere;
}

}  // namespace

void pressPointer(Dialog& dialog, POINT at) {
    dialog.loneAlt = false;
    dialog.pressed = placeAt(dialog, at);
    dialog.over = true;
    dialog.grip = at;
    if (dialog.pressed == nowhere) return;
    setCapture(dialog.window);
    if (dialog.pressed >= 0) setFocus(dialog, dialog.pressed, false);
    showChange(dialog);
}

void movePointer(Dialog& dialog, POINT at) {
    if (capture() != dialog.window) return;
    if (dialog.pressed == onCaption) {
        Window& window = *find(dialog.window);
        place(window, gdi::moved(window.bounds, at.x - dialog.grip.x, at.y - dialog.grip.y));
    }
    dialog.over = placeAt(dialog, at) == dialog.pressed;
    showChange(dialog);
}

// A click is a press and a release on the same place.
void releasePointer(Dialog& dialog, POINT at) {
    if (capture() != dialog.window) return;
    const int pressed = dialog.pressed;
    releaseCapture();
    if (pressed == onCaption) return settle(dialog, false);
    if (placeAt(dialog, at) != pressed) return;
    if (pressed >= 0) return click(dialog, pressed);
    send(dialog.window, WM_SYSCOMMAND, pressed == onClose ? SC_CLOSE : SC_MINIMIZE, 0);
}

void losePointer(Dialog& dialog) {
    dialog.pressed = nowhere;
    dialog.over = false;
    showChange(dialog);
}

}  // namespace user32
