// What can be measured, and what the measurements share.

#pragma once

#include <algorithm>
#include <chrono>

void measureConversion();
void measureLedger();

// The least time of several rounds, in milliseconds: what the work takes while nothing else
// disturbs it.
template <typename Work>
double bestOf(int rounds, Work work) {
    using Clock = std::chrono::steady_clock;
    double best = 1e9;
    for (int round = 0; round < rounds; ++round) {
        const Clock::time_point start = Clock::now();
        work();
        best =
            std::min(best, std::chrono::duration<double, std::milli>(Clock::now() - start).count());
    }
    return best;
}
