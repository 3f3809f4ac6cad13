// The layer's encoder, where the program cannot reach: too slow, and what the file says of colors.

#include <gtest/gtest.h>

#include <mfapi.h>
#include <unistd.h>

#include <fstream>

#include "capture/mp4_writer.h"
#include "platform/control.h"
#include "tests/clip_reader.h"
#include "tests/scratch.h"

namespace {

struct Take {
    Take(int asWide, int asHigh) : width(asWide), height(asHigh) {
        MFStartup(MF_VERSION, MFSTARTUP_FULL);
        writer = openMp4Writer(file.string<WCHAR>(), width, height, false);
    }
    ~Take() {
        desktop::holdEncoder(false);
        writer = {};
        MFShutdown();
    }
    void write(int luma) {
        std::vector<std::uint8_t> frame(static_cast<std::size_t>(width) * height * 3 / 2, 128);
        std::fill_n(frame.begin(), width * height, static_cast<std::uint8_t>(luma));
        writeFrame(writer, frame.data(), static_cast<std::uint32_t>(frame.size()),
                   slot * 10'000'000 / 30, 333'333);
        ++slot;
    }

    const int width, height;
    const ScratchFolder folder;
    const Path file = folder.path / "clip.mp4";
    Mp4Writer writer;
    std::int64_t slot = 0;
};

double residentMegabytes() {
    long total = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return static_cast<double>(resident * sysconf(_SC_PAGESIZE)) / 1e6;
}

// Equal frames share their memory, and frames that find none repeat the last one that did.
TEST(Encoder, boundsItsMemoryWhenItFallsBehind) {
    Take take(3840, 2160);
    const double before = residentMegabytes();
    desktop::holdEncoder(true);
    for (int equal = 0; equal < 30; ++equal) take.write(20);
    for (int shade = 1; shade <= 65; ++shade) take.write(20 + 3 * shade);
    EXPECT_LT(residentMegabytes() - before, 600);  // of 1180
    desktop::holdEncoder(false);
    finalizeMp4(take.writer);
    const Clip clip = readClip(take.file);
    EXPECT_NEAR(clip.seconds, 95 / 30.0, 0.001);
    std::vector<int> shades;
    forEachPicture(take.file, clip, [&](const ClipPicture& frame) {
        shades.push_back((frame.luma(1920, 1080) - 19) / 3);
    });
    ASSERT_EQ(shades.size(), 95u);
    const int last = shades.back();
    EXPECT_GE(last, 15);
    for (int at = 0; at < 95; ++at) EXPECT_EQ(shades[at], std::clamp(at - 29, 0, last)) << at;
}

// What the program declares, and nothing beyond: BT.601's matrix and the limited range.
TEST(Encoder, declaresMatrixAndRangeInTheContainer) {
    Take take(64, 64);
    take.write(20);
    finalizeMp4(take.writer);
    EXPECT_NE(readFile(take.file).find(std::string("colrnclx\0\2\0\2\0\6\0", 15)),
              std::string::npos);
}

}  // namespace
