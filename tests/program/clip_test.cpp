// The finished clip as an independent reader sees it: what the screen showed, where and when.

#include <atomic>
#include <chrono>
#include <cmath>

#include "tests/clip_reader.h"
#include "tests/program/outcome.h"

using namespace user;
using Clock = std::chrono::steady_clock;

namespace {

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

void fill(const desktop::Canvas& canvas, const RECT& area, std::uint32_t colour) {
    for (int y = area.top; y < area.bottom; ++y)
        for (int x = area.left; x < area.right; ++x)
            canvas.pixels[(y - canvas.origin.y) * canvas.stride + x - canvas.origin.x] = colour;
}

// Paints the milliseconds since its start as black and white cells at (100, 100).
struct RunningTime {
    static constexpr int cell = 16, cells = 20;

    ~RunningTime() {
        over = true;
        painter.join();
    }
    void run() {
        while (!over) {
            const auto time = static_cast<unsigned>(secondsSince(start) * 1000);
            desktop::paintDesktop([&](const desktop::Canvas& canvas) {
                for (int bit = 0; bit < cells; ++bit)
                    fill(canvas, {100 + bit * cell, 100, 100 + (bit + 1) * cell, 100 + cell},
                         time >> bit & 1 ? 0xffffff : 0);
            });
            std::this_thread::sleep_for(std::chrono::milliseconds(8));
        }
    }
    static double secondsIn(const ClipPicture& picture) {
        unsigned time = 0;
        for (int bit = 0; bit < cells; ++bit)
            if (picture.luma(bit * cell + cell / 2, cell / 2) > 126) time |= 1u << bit;
        return time / 1000.0;
    }

    const Clock::time_point start = Clock::now();
    std::atomic<bool> over = false;
    std::thread painter{[this] { run(); }};
};

void expectTrueTime(double seconds) {
    atDesktop([seconds] {
        Program program;
        std::optional<RunningTime> running(std::in_place);
        startRecording({100, 100, 420, 340});
        const Clock::time_point begin = Clock::now();
        desktop::waitUntil([&] { return secondsSince(begin) > seconds; }, seconds + 10);
        const double wall = secondsSince(begin);
        stopRecording();
        running.reset();
        const Path file = recordings() / clips().front();
        const Clip clip = readClip(file);
        ASSERT_GT(clip.times.size(), 10u);
        EXPECT_NEAR(clip.seconds, wall, 0.25);
        // Each picture bears the time at which it stood on the screen, to within one slot.
        std::vector<double> offsets;
        forEachPicture(file, clip, [&](const ClipPicture& picture) {
            const double time = static_cast<double>(clip.times.at(offsets.size())) / 1e7;
            offsets.push_back(RunningTime::secondsIn(picture) - time);
        });
        EXPECT_EQ(offsets.size(), clip.times.size()) << "every picture decodes";
        std::sort(offsets.begin(), offsets.end());
        const double middle = offsets[offsets.size() / 2];
        const auto late = std::count_if(offsets.begin(), offsets.end(), [&](double offset) {
            return std::abs(offset - middle) > 1.0 / 30 + 0.01;
        });
        // A machine under load may hold the thread between looking and stamping, but seldom.
        EXPECT_LE(late, static_cast<long>(offsets.size() / 20));
    });
}

}  // namespace

TEST(Clip, showsWhatStoodThereAndNothingOfOurs) {
    atDesktop([] {
        desktop::setMonitors({{{0, 0, 1920, 1080}}, {{-1920, 0, 0, 1080}}});
        const RECT region{-1111, 77, -111, 679};  // 1000 × 602
        desktop::paintDesktop([&](const desktop::Canvas& canvas) {
            fill(canvas, {-1920, 0, 1920, 1080}, 0x204060);
            fill(canvas, {region.left, region.top, region.left + 64, region.top + 64}, 0xff0000);
            fill(canvas, {region.right - 64, region.bottom - 64, region.right, region.bottom},
                 0x00ff00);
        });
        desktop::movePointer(-500, 500);
        Program program;
        startRecording(region);
        stopRecording();
        const Path file = recordings() / clips().front();
        const Clip clip = readClip(file);
        EXPECT_EQ(clip.description, "h264 1000x602 30/1 smpte170m tv 1:1 streams=1");
        forEachPicture(file, clip, [&](const ClipPicture& picture) {
            // (66 R + 129 G + 25 B + 128) / 256 + 16, and chroma likewise.
            const struct {
                int x, y, luma, u, v;
            } patches[] = {{32, 32, 82, 90, 240},    {1000 - 32, 602 - 32, 144, 54, 34},
                           {500, 2, 66, 147, 112},   {2, 300, 66, 147, 112},
                           {997, 300, 66, 147, 112}, {500, 599, 66, 147, 112}};
            for (const auto& patch : patches) {
                EXPECT_NEAR(picture.luma(patch.x, patch.y), patch.luma, 3);
                EXPECT_NEAR(picture.u(patch.x, patch.y), patch.u, 3);
                EXPECT_NEAR(picture.v(patch.x, patch.y), patch.v, 3);
            }
        });
    });
}

TEST(Clip, ofASecondKeepsTime) { expectTrueTime(1); }
TEST(Clip, ofAMinuteKeepsTime) { expectTrueTime(60); }
