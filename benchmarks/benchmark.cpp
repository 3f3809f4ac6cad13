// Measures the program.
//
//     benchmark [conversion] [ledger] [recording [SECONDS]]
//
// Without a word everything is measured, and a recording takes 20 seconds.

#include "benchmarks/benchmark.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

namespace {

bool isNumber(const std::string& word) {
    return !word.empty() && word.find_first_not_of("0123456789") == std::string::npos;
}

int usage() {
    std::fputs("usage: benchmark [conversion] [ledger] [recording [SECONDS]]\n", stderr);
    return 2;
}

}  // namespace

int main(int count, char** arguments) {
    std::vector<std::string> words(arguments + 1, arguments + count);
    int seconds = 20;
    if (!words.empty() && isNumber(words.back())) {
        seconds = std::max(1, std::atoi(words.back().c_str()));
        words.pop_back();
    }
    if (words.empty()) words = {"conversion", "ledger", "recording"};
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    try {
        for (const std::string& word : words)
            if (word == "conversion")
                measureConversion();
            else if (word == "ledger")
                measureLedger();
            else if (word == "recording")
                measureRecordings(seconds);
            else
                return usage();
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return 1;
    }
    return 0;
}
