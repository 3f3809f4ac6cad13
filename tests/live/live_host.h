// The live display's host, driven without the rest of the layer.

#pragma once

#include <gtest/gtest.h>
#include <poll.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "platform/control.h"
#include "platform/hosts/host.h"
#include "tests/live/xvfb.h"

using host::Event;

struct LiveHost : testing::Test {
    LiveHost() {
        live::startDisplay();
        desk = &host::x11Host();
    }

    bool mayHaveEvents(int milliseconds = 0) {
        pollfd waiting{desk->eventDescriptor(), POLLIN, 0};
        return poll(&waiting, 1, milliseconds) > 0;
    }
    void takeEvents() {
        for (Event event; desk->nextEvent(event);) {
            events.push_back(event);
            desk->finishInput(event, takes(event));
        }
    }
    // Answers input as `takes` wants it, until the condition holds.
    bool goOnUntil(const std::function<bool()>& condition) {
        return desktop::waitUntil([&] {
            if (mayHaveEvents()) takeEvents();
            return condition();
        });
    }
    bool cameAbout(Event::Kind kind, UINT key = 0) {
        return goOnUntil([&] { return count(kind, key) > 0; });
    }
    long count(Event::Kind kind, UINT key = 0) const {
        return std::count_if(events.begin(), events.end(), [&](const Event& event) {
            return event.kind == kind && (key == 0 || event.key == key);
        });
    }
    // Types a letter and waits until the client has it: everything before has arrived by then, or
    // never will.
    std::string heardUpTo(const live::Client& client, char letter) {
        live::tap(static_cast<xcb_keysym_t>(letter));
        const std::string end = std::string("-") + letter;
        EXPECT_TRUE(goOnUntil([&] { return client.heard().ends_with(end); })) << client.heard();
        return client.heard();
    }
    host::Surface show(const RECT& bounds, BYTE opacity, std::uint32_t colour) {
        const host::Surface surface = desk->createSurface(u"");
        host::Placement placement;
        placement.bounds = bounds;
        placement.opacity = opacity;
        desk->showSurface(surface, placement, true);
        const int width = bounds.right - bounds.left, height = bounds.bottom - bounds.top;
        const std::vector<std::uint32_t> pixels(static_cast<std::size_t>(width * height), colour);
        desk->presentSurface(surface, {pixels.data(), width, height, width});
        desk->flush();
        return surface;
    }

    const host::Host* desk;
    std::function<bool(const Event&)> takes = [](const Event&) { return false; };
    std::vector<Event> events;
};
