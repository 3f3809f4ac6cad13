// From the shortcut to the region, or to nothing.

#include "tests/scenarios/user.h"

using namespace user;

namespace {

const char* const wrongSize = "Choose a region from 16×16 to 3840×2160 on one monitor.";

void expectIdle() {
    await("the end of the overlay", [] { return !sheetIsUp() && !frameIsUp(); });
    await("Esc for others", [] { return othersGet({VK_ESCAPE}); });
}

}  // namespace

TEST(Selection, theRectangleFollowsThePointerAndBecomesTheFrame) {
    atDesktop([] {
        const Program program;
        openSheet();
        const auto shows = [](int x, int y, std::uint32_t color) {
            await("a pixel", [&] { return pixel(x, y) == color; });
        };
        move(300, 300);
        holdButton(1);
        move(250, 350);
        move(201, 181);
        for (const POINT at : {POINT{201, 181}, POINT{298, 298}, POINT{201, 298}, POINT{298, 181}})
            shows(at.x, at.y, outline);
        for (const POINT at : {POINT{200, 180}, POINT{299, 299}, POINT{250, 240}})
            shows(at.x, at.y, dim);
        releaseButton(1);
        for (const POINT at : {POINT{199, 179}, POINT{300, 300}, POINT{200, 240}})
            shows(at.x, at.y, frame);
        for (const POINT at : {POINT{201, 181}, POINT{298, 298}, POINT{198, 178}, POINT{301, 301}})
            shows(at.x, at.y, ground);
    });
}

TEST(Selection, canBeGivenUp) {
    const auto beginDrag = [] {
        move(400, 400);
        holdButton(1);
        move(500, 500);
        await("the outline", [] { return pixel(450, 400) == outline; });
    };
    const std::pair<const char*, std::function<void()>> ways[] = {
        {"Esc", [] { pressEsc(); }},
        {"Esc in a drag", [&] { beginDrag(), pressEsc(), releaseButton(1); }},
        {"right button", [] { click(400, 400, 3); }},
        {"right button in a drag",
         [&] { beginDrag(), holdButton(3), releaseButton(3), releaseButton(1); }},
        {"another program comes to the front in a drag",
         [&] {
             beginDrag();
             takeForeground();
             await("the end of the sheet", [] { return !sheetIsUp(); });
             releaseButton(1);
         }},
        {"Alt+F4",
         [] {
             press({VK_LMENU, VK_F4});
         }},
        {"a click", [] { click(400, 400), awaitNotice(wrongSize); }},
        {"too narrow",
         [] {
             drag({400, 400, 415, 416});
             awaitNotice(wrongSize);
         }},
        {"too low",
         [] {
             drag({400, 400, 416, 415});
             awaitNotice(wrongSize);
         }},
    };
    atDesktop([&] {
        const Program program;
        for (const auto& [name, giveUp] : ways) {
            SCOPED_TRACE(name);
            openSheet();
            giveUp();
            expectIdle();
        }
        EXPECT_FALSE(noticeIsNew());
        EXPECT_EQ(clips().size(), 0u);
        startRecording({400, 400, 417, 417});  // made even: the smallest region
        EXPECT_EQ(view(stopRecording(), 16, 16).brightest / 10, 9);
    });
}
