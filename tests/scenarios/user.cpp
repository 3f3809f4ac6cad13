// What the user does in the same way on every desktop.

#include "tests/scenarios/user.h"

namespace user {

void await(const char* what, const std::function<bool()>& condition) {
    EXPECT_TRUE(waitUntil(condition)) << "waited in vain for " << what;
}

Path recordings() { return dataFolder() / "Recordings"; }

std::vector<std::string> clips() {
    std::vector<std::string> names = namesIn(recordings());
    std::erase_if(names, [](const std::string& name) { return !name.ends_with(".mp4"); });
    return names;
}

void drag(const RECT& region) {
    move(region.left, region.top);
    holdButton(1);
    move(region.right, region.bottom);
    releaseButton(1);
}

void openMenu() {
    clickTray(3);
    await("the menu", menuIsOpen);
}

void openSheet() {
    pressShortcut();
    await("the sheet", sheetIsUp);
}

void clickControl(int id) {
    const RECT area = control(id).bounds;
    click((area.left + area.right) / 2, (area.top + area.bottom) / 2);
}

void awaitFocus(int id) {
    await("the focus", [&] { return focus() == id; });
}

void openSettings() {
    openMenu();
    choose(4);
    awaitFocus(ShortcutBox);
}

void tabTo(int id) {
    for (int tries = 0; focus() != id && tries < 4; ++tries) {
        const int before = focus();
        press({VK_TAB});
        await("another focus", [&] { return focus() != before; });
    }
}

void dragRegion(const RECT& region, int samples) {
    const std::ptrdiff_t before = writtenSamples();
    drag(region);
    await("the red frame", frameIsUp);
    await("samples", [&] { return writtenSamples() >= before + samples; });
}

void startRecording(const RECT& region, int samples) {
    openSheet();
    dragRegion(region, samples);
}

Path stopRecording() {
    pressEsc();
    awaitNotice("Finishing clip…");
    awaitNotice("Copied — paste the video file.");
    return pastedFile();
}

}  // namespace user
