// From the shortcut to the region, or to nothing.

#include "tests/scenarios/user.h"

using namespace user;

TEST(Selection, theRectangleFollowsThePointerAndBecomesTheFrame) {
    const auto expect = [](std::uint32_t color, const std::vector<POINT>& points) {
        for (const POINT at : points) await("a pixel", [&] { return pixel(at.x, at.y) == color; });
    };
    atDesktop([&] {
        const Program program;
        openSheet();
        move(300, 300);
        holdButton(1);
        move(250, 350);
        move(201, 181);
        expect(outline, {{201, 181}, {298, 298}, {201, 298}, {298, 181}});
        expect(dim, {{200, 180}, {299, 299}, {250, 240}});
        releaseButton(1);
        expect(frame, {{199, 179}, {300, 300}, {200, 240}});
        expect(ground, {{201, 181}, {298, 298}, {198, 178}, {301, 301}});
    });
}

TEST(Selection, canBeGivenUp) {
    const std::pair<const char*, std::function<void()>> ways[] = {
        {"Esc", pressEsc},
        {"the right button", [] { click(500, 500, 3); }},
        {"another program in front", takeForeground},
        {"Alt+F4", std::bind(press, std::vector<UINT>{VK_LMENU, VK_F4})},
    };
    const auto escIsFree = [] { return othersGet({VK_ESCAPE}); };
    atDesktop([&] {
        const Program program;
        for (const auto& [name, giveUp] : ways) {
            SCOPED_TRACE(name);
            openSheet();
            move(400, 400);
            holdButton(1);
            move(500, 500);
            await("the outline", [] { return pixel(450, 400) == outline; });
            giveUp();
            await("the end of the overlay", [] { return !sheetIsUp() && !frameIsUp(); });
            releaseButton(1);
            await("Esc for others", escIsFree);
        }
        openSheet();
        click(400, 400);
        awaitNotice("Choose a region from 16×16 to 3840×2160 on one monitor.");
        await("Esc for others", escIsFree);
        EXPECT_EQ(clips().size(), 0u);
        startRecording({400, 400, 417, 417});  // made even: the smallest region
        EXPECT_FALSE(stopRecording().empty());
    });
}
