// What stands on the demonstration's desktop: a window with colour bars, a bar that moves, and a
// running time code.

#pragma once

#include <atomic>
#include <thread>

struct TestCard {
    // Paints the desktop once, then 30 times a second what has changed, until it is destroyed.
    TestCard();
    ~TestCard();
    TestCard(const TestCard&) = delete;
    TestCard& operator=(const TestCard&) = delete;

private:
    std::atomic<bool> leaving = false;
    std::thread painter;
};
