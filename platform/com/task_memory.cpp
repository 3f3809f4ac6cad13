// Memory from operations to the program.

#include "platform/com/task_memory.h"

#include "platform/desktop/call.h"
#include "platform/desktop/objects.h"

PWSTR com::taskText(std::u16string_view text) {
    const PWSTR copy = new WCHAR[text.size() + 1];
    copy[text.copy(copy, text.size())] = 0;
    desktop::opened(desktop::Object::TaskMemory);
    return copy;
}

// Texts are all that is handed out here.
void CoTaskMemFree(LPVOID block) {
    desktop::Call call("CoTaskMemFree", static_cast<const void*>(block));
    if (!block) return;
    delete[] static_cast<PWSTR>(block);
    desktop::closed(desktop::Object::TaskMemory);
}
