// The content of the demonstration's desktop: a window with color bars, a moving bar and a running
// time code.

#pragma once

#include <atomic>
#include <thread>

struct TestCard {
    // Paints the desktop, then 30 times a second what moves on it, until it is destroyed.
    TestCard();
    ~TestCard();
    TestCard(const TestCard&) = delete;
    TestCard& operator=(const TestCard&) = delete;

private:
    std::atomic<bool> leaving = false;
    std::thread painter;
};
