// A clip as an independent reader sees it: ffprobe for the container, ffmpeg for the pictures.

#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

// What a command of the shell writes.
std::string outputOf(const std::string& command);

struct Clip {
    // A line for every stream: "stream|codec|width|height|aspect|range|matrix|rate".
    std::string description;
    int width = 0, height = 0;
    std::vector<std::int64_t> times;      // of the samples, in 100 ns
    std::vector<std::int64_t> durations;  // likewise
    double seconds = 0;                   // of the whole container
};

// Throws std::runtime_error if the reader cannot open the file.
Clip readClip(const std::filesystem::path& file);

// One decoded picture, 4:2:0 planes as they were encoded. Coordinates are those of the luma plane.
struct ClipPicture {
    int width, height;
    std::vector<std::uint8_t> planes;

    int luma(int x, int y) const { return planes[y * width + x]; }
    int u(int x, int y) const { return planes[width * height + y / 2 * (width / 2) + x / 2]; }
    int v(int x, int y) const { return u(x, y + height); }
};

// Decodes all pictures in order. Throws std::runtime_error if the decoder reports anything.
void forEachPicture(const std::filesystem::path& file, const Clip& clip,
                    const std::function<void(const ClipPicture&)>& look);
