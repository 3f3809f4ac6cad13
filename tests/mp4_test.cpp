// What becomes of the samples, judged by an independent reader.

#include "capture/mp4_writer.h"

#include <gtest/gtest.h>

#include <mfapi.h>
#include <sys/resource.h>
#include <unistd.h>

#include <map>
#include <random>
#include <thread>

#include "platform/control.h"
#include "tests/clip_reader.h"
#include "tests/scratch.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

std::int64_t timeOf(std::int64_t slot) { return slot * 10'000'000 / 30; }

struct MediaStart {
    MediaStart() { MFStartup(MF_VERSION, MFSTARTUP_FULL); }
    ~MediaStart() {
        MFShutdown();
        EXPECT_TRUE(desktop::openObjects().empty());
    }
};

struct Take {
    Take(int asWide, int asHigh) : width(asWide), height(asHigh) {}

    void write(const Bytes& picture, std::int64_t slot) {
        writeFrame(writer, picture.data(), static_cast<std::uint32_t>(picture.size()), timeOf(slot),
                   timeOf(slot + 1) - timeOf(slot));
    }
    Clip finish() {
        finalizeMp4(writer);
        return readClip(file);
    }
    // Four flat quarters; `shade` makes pictures that differ in the first one.
    Bytes quarters(int shade) const {
        Bytes picture(static_cast<std::size_t>(width) * height * 3 / 2, 128);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                picture[y * width + x] =
                    static_cast<std::uint8_t>(y < height / 2 ? (x < width / 2 ? 40 + shade : 90)
                                                             : (x < width / 2 ? 160 : 230));
        return picture;
    }
    Bytes noise(unsigned seed) const {
        Bytes picture(static_cast<std::size_t>(width) * height * 3 / 2, 128);
        std::mt19937 source(seed);
        for (int at = 0; at < width * height; ++at)
            picture[at] = static_cast<std::uint8_t>(16 + source() % 200);
        return picture;
    }

    const int width, height;
    const MediaStart media;
    const ScratchFolder folder;
    const Path file = folder.path / "é clip.mp4";
    Mp4Writer writer = openMp4Writer(file.string<WCHAR>(), width, height, false);
};

// The clip starts with its first sample, whichever slot that has.
TEST(Mp4, showsEveryPictureAtItsTime) {
    const std::vector<std::int64_t> slots{0, 1, 2, 6, 31};
    constexpr struct {
        int width, height, firstSlot;
    } rows[] = {{16, 16, 0}, {1000, 602, 100}, {1920, 1080, 0}, {3840, 2160, 0}};
    for (const auto& [width, height, firstSlot] : rows) {
        Take take(width, height);
        for (std::size_t at = 0; at < slots.size(); ++at)
            take.write(take.quarters(static_cast<int>(at) * 20), firstSlot + slots[at]);
        EXPECT_FALSE(DeleteFileW(take.file.string<WCHAR>().c_str())) << "while it is written";
        const Clip clip = take.finish();
        EXPECT_EQ(clip.description, "h264 " + std::to_string(width) + "x" + std::to_string(height) +
                                        " 30/1 smpte170m tv 1:1 streams=1");
        ASSERT_EQ(clip.times.size(), slots.size());
        for (std::size_t at = 0; at < slots.size(); ++at)
            EXPECT_EQ(clip.times[at], timeOf(slots[at]));
        EXPECT_EQ(clip.durations.back(), timeOf(32) - timeOf(31));
        EXPECT_NEAR(clip.seconds, 32 / 30.0, 0.0001);
        int shade = 40;
        forEachPicture(take.file, clip, [&](const ClipPicture& picture) {
            const int right = width * 3 / 4, low = height * 3 / 4;
            EXPECT_NEAR(picture.luma(width / 4, height / 4), std::exchange(shade, shade + 20), 3);
            EXPECT_NEAR(picture.luma(right, height / 4), 90, 3);
            EXPECT_NEAR(picture.luma(width / 4, low), 160, 3);
            EXPECT_NEAR(picture.luma(right, low), 230, 3);
            EXPECT_NEAR(picture.u(right, low), 128, 3);
        });
        EXPECT_EQ(shade, 140);
    }
}

// Long runs of equal pictures are coded in another way than the rest, and the two ways meet at
// every change and at every key picture. A wrong count there shows as a wrong picture or as words
// of the decoder.
TEST(Mp4, showsTheRightPictureBetweenRunsOfEqualOnes) {
    Take take(320, 240);
    std::vector<int> seeds;
    for (const int length : {40, 1, 1, 20, 2, 150, 9, 1, 8, 1, 1, 1, 70})
        seeds.insert(seeds.end(), length, seeds.empty() ? 1 : seeds.back() + 1);
    std::map<int, Bytes> pictures;
    for (std::size_t slot = 0; slot < seeds.size(); ++slot)
        take.write(pictures.try_emplace(seeds[slot], take.noise(seeds[slot])).first->second, slot);
    std::size_t slot = 0;
    forEachPicture(take.file, take.finish(), [&](const ClipPicture& picture) {
        const Bytes& sent = pictures[seeds.at(slot++)];
        double difference = 0;
        for (int at = 0; at < 320 * 240; ++at)
            difference += std::abs(picture.planes[at] - sent[at]);
        // Another picture: about 67.
        EXPECT_LT(difference / (320 * 240), 25) << "slot " << slot - 1;
    });
    EXPECT_EQ(slot, seeds.size());
}

TEST(Mp4, keepsToTheBitRate) {
    Take take(640, 480);
    constexpr int count = 120;
    for (int slot = 0; slot < count; ++slot) take.write(take.noise(slot), slot);
    take.finish();
    EXPECT_NEAR(static_cast<double>(std::filesystem::file_size(take.file)) * 8 * 30 / count, 12e6,
                4e6);
}

// However low the program's own priority is.
TEST(Mp4, givesWayToOthersWithALargeClip) {
    std::thread([] {
        const int own = nice(3);
        const Take take(3840, 2160);
        int lowest = own;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
            const auto thread = static_cast<id_t>(std::stoi(entry.path().filename()));
            lowest = std::max(lowest, getpriority(PRIO_PROCESS, thread));
        }
        EXPECT_EQ(lowest, std::min(own + 5, 19));
    }).join();
}

TEST(Mp4, leavesNothingOpenWhereNoFileCanBeMade) {
    const MediaStart media;
    EXPECT_THROW(openMp4Writer(u"/nowhere/clip.mp4", 16, 16, false), std::runtime_error);
}

}  // namespace
