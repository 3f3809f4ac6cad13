// The live display's host, driven without the rest of the layer, beside another program's window
// that has the keyboard.

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

using host::Event, host::KeyGrab;

struct LiveHost : testing::Test {
    ~LiveHost() override { desk->grabKeys(KeyGrab::None); }

    static host::Host* open() {
        live::startDisplay();
        return &host::x11Host();
    }

    bool mayHaveEvents(int milliseconds = 0) {
        pollfd waiting{desk->eventDescriptor(), POLLIN, 0};
        return poll(&waiting, 1, milliseconds) > 0;
    }
    void takeEvents() {
        for (Event event; desk->nextEvent(event);) events.push_back(event);
    }
    bool goOnUntil(const std::function<bool()>& condition) {
        return desktop::waitUntil([&] {
            if (mayHaveEvents()) takeEvents();
            return condition();
        });
    }
    long count(Event::Kind kind, UINT key = 0) const {
        return std::ranges::count_if(events, [&](const Event& event) {
            return event.kind == kind && (key == 0 || event.key == key);
        });
    }
    bool comes(Event::Kind kind, UINT key = 0, long times = 1) {
        return goOnUntil([&] { return count(kind, key) >= times; });
    }
    // Types and waits until the client has the last key's release: everything before has arrived by
    // then, or never will.
    std::string heardAfter(const std::string& keys) {
        live::type(keys);
        const std::string end = "-" + keys.substr(keys.find_last_of(" +-") + 1);
        EXPECT_TRUE(goOnUntil([&] { return client.heard().ends_with(end); }));
        return client.heard();
    }
    host::Surface show(const RECT& bounds, BYTE opacity = 255, std::uint32_t color = 0x181818) {
        const host::Surface surface = desk->createSurface(u"");
        desk->showSurface(surface, {bounds, opacity, {}}, true);
        const int width = bounds.right - bounds.left, height = bounds.bottom - bounds.top;
        const std::vector<std::uint32_t> pixels(static_cast<std::size_t>(width * height), color);
        desk->presentSurface(surface, {pixels.data(), width, height, width});
        desk->flush();
        return surface;
    }

    host::Host* const desk = open();
    live::Client client{{100, 100, 900, 500}};
    std::vector<Event> events;
};
