// What can be measured, and what the measurements share.

#pragma once

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>

void measureConversion();
void measureLedger();
// The program is left alone for `seconds` at a time.
void measureIdleness(int seconds);

// Runs it in a child process, with a new folder as home and no session bus. Throws if it fails.
void inOwnProcess(const char* name, const std::function<void(const std::filesystem::path&)>& body);

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
