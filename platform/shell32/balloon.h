// Balloons and tips.

#pragma once

#include "platform/hosts/host.h"

namespace shell32 {

// The first text starts threads. Later it might be the text that says that there are none.
void prepareBalloons();
// Shows it for five seconds, an error for ten; `replaces` and `milliseconds` are set here.
void showBalloon(host::Notice notice);
void takeAnswer(const host::Event& event);  // NoticeShown or NoticeRefused

void showTip(const std::string& text, const RECT& icon);  // UTF-8; on the virtual desktop
void hideTip();
void hideBalloons();
void forgetBalloon(HWND window);  // for any window that is destroyed

}  // namespace shell32
