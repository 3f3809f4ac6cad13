// A page of marks like writing that scrolls.

#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

struct Page {
    Page(int asWide, int asHigh);

    // The first pixel of the picture with this number; its rows are `width` pixels apart.
    const std::uint32_t* picture(int number) const;

    int width, height;
    std::vector<std::uint32_t> pixels;
};

// Scrolls at `region` of the embedded desktop, 30 times a second, on a thread of its own.
struct ScrollingPage {
    explicit ScrollingPage(const RECT& region);
    ~ScrollingPage();
    ScrollingPage(const ScrollingPage&) = delete;
    ScrollingPage& operator=(const ScrollingPage&) = delete;

    double cpuSeconds() const { return spent; }  // of the painting so far

private:
    void run(const RECT& region, const Page& page);

    std::atomic<bool> leaving = false;
    std::atomic<double> spent = 0;
    std::thread painter;
};

// The same on the X display that DISPLAY names, until the process is killed.
[[noreturn]] void scrollOnDisplay(const RECT& region);
