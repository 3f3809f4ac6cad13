// The one user-interface thread.
//
// It is the first thread that asks for a window, a message or a hook. It alone touches the records
// of this folder, so none of them has a lock; what other threads may see lies in desktop/shown.h
// and in the message queue. When the thread ends, everything of it goes as the system would take
// it: windows, timers, hot keys, hooks, the tray icon. A later thread can then take its place.

#pragma once

namespace user32 {

// Makes the calling thread the user-interface thread if there is none; stops the process if there
// is another.
void enterUserInterface();

}  // namespace user32
