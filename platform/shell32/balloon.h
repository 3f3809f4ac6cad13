// Balloons and tips.

#pragma once

#include "platform/hosts/host.h"

namespace shell32 {

// The text stack starts threads for its first texts, which might say that none can be had.
void prepareBalloons();
void showBalloon(host::Notice notice);
void takeAnswer(const host::Event& event);  // of the notification service

void showTip(const std::string& text, const RECT& icon);
void hideTip();
void hideBalloons();
void forgetBalloon(HWND window);  // It may be one, and has gone.

}  // namespace shell32
