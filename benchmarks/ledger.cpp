// A registration with a long ledger, which must take linear time: another program may have extended
// the file. Only the newest clips exist as files, as with a ledger that the program wrote.

#include <windows.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "benchmarks/benchmark.h"
#include "demo/person.h"
#include "store/clip_name.h"
#include "store/retention.h"

namespace {

using Path = std::filesystem::path;

void makeFile(const Path& path) { std::ofstream(path, std::ios::binary) << "clip"; }

void makeLedger(const Path& folder, int lines) {
    std::ofstream ledger(folder / "completed.txt", std::ios::binary);
    for (int line = 0; line < lines; ++line) {
        const Path clip = allocateClipPath(folder);
        if (line >= lines - 4) makeFile(clip);
        ledger << clip.filename().string() << "\r\n";
    }
}

double millisecondsOf(const Path& folder, int lines) {
    double best = 1e9;
    for (int round = 0; round < 3; ++round) {
        std::filesystem::remove_all(folder);
        std::filesystem::create_directory(folder);
        makeLedger(folder, lines);
        const Path clip = allocateClipPath(folder);
        makeFile(clip);
        best = std::min(best, bestOf(1, [&] { registerCompletedClip(folder, clip); }));
    }
    return best;
}

}  // namespace

void measureLedger() {
    const Path folder = person::makeTemporaryFolder();
    std::printf("Registration of a clip, best of 3\n");
    for (const int lines : {1'000, 10'000, 100'000}) {
        const double milliseconds = millisecondsOf(folder / "Recordings", lines);
        std::printf("  %6d lines%10.1f ms%10.2f us a line\n", lines, milliseconds,
                    milliseconds * 1000 / lines);
    }
    std::filesystem::remove_all(folder);
}
