// Measures what needs no recording: benchmark conversion|ledger

#include "benchmarks/benchmark.h"

#include <cstdio>
#include <exception>
#include <string>

namespace {

int usage() {
    std::fputs("usage: benchmark conversion|ledger\n", stderr);
    return 2;
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 2) return usage();
    const std::string section = arguments[1];
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    try {
        if (section == "conversion")
            measureConversion();
        else if (section == "ledger")
            measureLedger();
        else
            return usage();
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return 1;
    }
    return 0;
}
