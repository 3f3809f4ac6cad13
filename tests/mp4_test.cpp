// What becomes of the samples, judged by an independent reader.

#include "capture/mp4_writer.h"

#include <gtest/gtest.h>

#include <cmath>

#include <mfapi.h>

#include "platform/control.h"
#include "tests/clip_reader.h"
#include "tests/scratch.h"

namespace {

std::int64_t timeOf(std::int64_t slot) { return slot * 10'000'000 / 30; }

// Frames of squares, each of its own shade in each plane.
struct Take {
    Take(int asWide, int asHigh, int asSquare = 16)
        : width(asWide), height(asHigh), square(asSquare) {
        MFStartup(MF_VERSION, MFSTARTUP_FULL);
        writer = openMp4Writer(file.string<WCHAR>(), width, height, false);
    }
    ~Take() {
        desktop::holdEncoder(false);
        writer = {};
        MFShutdown();
        EXPECT_TRUE(desktop::openObjects().empty());
    }
    std::uint8_t shade(unsigned frame, int x, int y, unsigned plane) const {
        const unsigned number = frame * 7 + x / square * 31u + y / square * 101u + plane * 57;
        return static_cast<std::uint8_t>(20 + (number * 2654435761u >> 24) % 200);
    }
    void write(unsigned frame, std::int64_t slot) {
        std::vector<std::uint8_t> bytes;
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) bytes.push_back(shade(frame, x, y, 0));
        for (int y = 0; y < height; y += 2)
            for (int x = 0; x < width; ++x) bytes.push_back(shade(frame, x & ~1, y, 1 + x % 2));
        writeFrame(writer, bytes.data(), static_cast<std::uint32_t>(bytes.size()), timeOf(slot),
                   timeOf(slot + 1) - timeOf(slot));
    }
    int greatestDifference(const ClipPicture& picture, unsigned frame) const {
        int greatest = 0;
        for (int y = square / 2; y < height; y += square)
            for (int x = square / 2; x < width; x += square)
                greatest = std::max({greatest, std::abs(picture.luma(x, y) - shade(frame, x, y, 0)),
                                     std::abs(picture.u(x, y) - shade(frame, x, y, 1)),
                                     std::abs(picture.v(x, y) - shade(frame, x, y, 2))});
        return greatest;
    }

    const int width, height, square;
    const ScratchFolder folder;
    const Path file = folder.path / "é clip.mp4";
    Mp4Writer writer;
};

// The clip starts with its first sample, whichever slot that has. Some slots are left empty, and
// runs of equal frames are longer from one to the next.
TEST(Mp4, showsEveryFrameAtItsTime) {
    constexpr struct {
        int width, height, firstSlot, count;
    } rows[] = {{16, 16, 0, 5}, {1000, 602, 100, 5}, {3840, 2160, 0, 5}, {320, 240, 7, 300}};
    const auto frameOf = [](std::int64_t at) { return static_cast<unsigned>(std::sqrt(at)); };
    for (const auto& [width, height, firstSlot, count] : rows) {
        Take take(width, height);
        std::vector<std::int64_t> times;
        for (int at = 0; at < count; ++at) {
            const std::int64_t slot = at + at / 4 * 9;
            take.write(frameOf(at), firstSlot + slot);
            times.push_back(timeOf(slot));
        }
        EXPECT_FALSE(DeleteFileW(take.file.string<WCHAR>().c_str())) << "while it is written";
        finalizeMp4(take.writer);
        const Clip clip = readClip(take.file);
        EXPECT_EQ(clip.description, "stream|h264|" + std::to_string(width) + "|" +
                                        std::to_string(height) + "|1:1|tv|smpte170m|30/1\n");
        // In the container, too, nothing beyond what the program declares.
        const std::string colors("colrnclx\0\2\0\2\0\6\0", 15);
        EXPECT_NE(readFile(take.file).find(colors), std::string::npos);
        ASSERT_EQ(clip.times.size(), times.size());
        for (std::size_t at = 0; at < times.size(); ++at)
            EXPECT_NEAR(clip.times[at], times[at], 10);
        EXPECT_NEAR(clip.durations.back(), timeOf(1), 10);
        EXPECT_NEAR(clip.seconds, (times.back() + timeOf(1)) / 1e7, 0.0001);
        int at = 0;
        forEachPicture(take.file, clip, [&](const ClipPicture& picture) {
            EXPECT_LE(take.greatestDifference(picture, frameOf(at)), 40) << at;
            ++at;
        });
        EXPECT_EQ(at, count);
    }
}

TEST(Mp4, keepsToTheBitRate) {
    Take take(640, 480, 1);
    constexpr unsigned count = 120;
    for (unsigned frame = 0; frame < count; ++frame) take.write(frame * frame, frame);
    finalizeMp4(take.writer);
    EXPECT_NEAR(static_cast<double>(std::filesystem::file_size(take.file)) * 8 * 30 / count, 12e6,
                4e6);
}

// Equal frames share their memory, and frames that find none repeat the last one that did.
TEST(Mp4, boundsItsMemoryWhenTheEncoderFallsBehind) {
    Take take(3840, 2160, 480);
    desktop::holdEncoder(true);
    for (int slot = 0; slot < 95; ++slot) take.write(std::max(slot - 29, 0), slot);
    desktop::holdEncoder(false);
    finalizeMp4(take.writer);
    const Clip clip = readClip(take.file);
    EXPECT_NEAR(clip.seconds, 95 / 30.0, 0.001);
    std::vector<int> shown;
    forEachPicture(take.file, clip, [&](const ClipPicture& picture) {
        int frame = 0;
        while (frame < 95 && take.greatestDifference(picture, frame) > 20) ++frame;
        shown.push_back(frame);
    });
    ASSERT_EQ(shown.size(), 95u);
    EXPECT_GE(shown.back(), 15);
    EXPECT_LE(shown.back(), 21);
    for (int at = 0; at < 95; ++at)
        EXPECT_EQ(shown[at], std::clamp(at - 29, 0, shown.back())) << at;
}

}  // namespace
