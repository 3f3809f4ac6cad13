// Counts what the program holds open, by kind.

#pragma once

namespace desktop {

enum class Object {
    File,
    Mutex,
    Window,
    Hook,
    HotKey,
    Timer,
    Menu,
    Brush,
    Region,
    PaintContext,
    Icon,
    MouseCapture,
    Clipboard,
    GlobalBlock,
    TaskMemory,
    RegistryKey,
    ComReference,
    ComStart,
    MediaStart,
    DesktopFrame,
    MappedTexture,
    LockedBuffer,
    Count
};

// Callable from any thread.
void opened(Object kind);
void closed(Object kind);

}  // namespace desktop
