// Our conversion beside libyuv's, which has code for every processor, and beside a plain copy of as
// many bytes as the result has.

#include <libyuv.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <utility>
#include <vector>

#include "benchmarks/benchmark.h"
#include "capture/frame_conversion.h"

void measureConversion() {
    std::printf("Conversion of a frame, best of 60, in milliseconds\n");
    std::printf("  %-12s%10s%10s%10s%22s\n", "", "ours", "libyuv", "memcpy", "ours / libyuv");
    for (const auto& [width, height] : {std::pair{1920, 1080}, {3840, 2160}}) {
        const std::size_t pixels = static_cast<std::size_t>(width) * height;
        std::vector<std::uint8_t> source(pixels * 4), frame(pixels * 3 / 2), other(frame.size());
        std::mt19937 noise(1);
        for (std::uint8_t& channel : source) channel = static_cast<std::uint8_t>(noise());
        const auto convert = [&, w = width, h = height] {
            convertBgraToNv12(source.data(), w * 4, w, h, frame.data());
        };
        const auto convertByLibrary = [&, w = width, h = height] {
            libyuv::ARGBToNV12(source.data(), w * 4, other.data(), w, other.data() + pixels, w, w,
                               h);
        };
        const auto copy = [&] { std::memcpy(other.data(), source.data(), other.size()); };
        // In turns, so that a busy moment of the machine affects all.
        double ours = 1e9, library = 1e9, plain = 1e9;
        for (int turn = 0; turn < 6; ++turn) {
            ours = std::min(ours, bestOf(10, convert));
            library = std::min(library, bestOf(10, convertByLibrary));
            plain = std::min(plain, bestOf(10, copy));
        }
        std::printf("  %4d x %-5d%10.2f%10.2f%10.2f%22.2f\n", width, height, ours, library, plain,
                    ours / library);
    }
}
