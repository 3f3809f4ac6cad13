#include "tests/clip_reader.h"

#include <cmath>
#include <cstdio>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace {

std::shared_ptr<FILE> run(const std::string& command) {
    return {popen(command.c_str(), "r"), pclose};
}

}  // namespace

std::string outputOf(const std::string& command) {
    const auto output = run(command);
    std::string all;
    for (int next; (next = std::fgetc(output.get())) != EOF;) all += static_cast<char>(next);
    return all;
}

Clip readClip(const std::filesystem::path& file) {
    std::istringstream lines(
        outputOf("ffprobe -v error -of compact=nk=1 -show_entries packet=pts_time,duration_time:"
                 "stream=codec_name,width,height,sample_aspect_ratio,color_range,color_space,"
                 "r_frame_rate:format=duration '" +
                 file.string() + "'"));
    Clip clip;
    double time, length;
    for (std::string line; std::getline(lines, line);) {
        if (std::sscanf(line.c_str(), "packet|%lf|%lf", &time, &length) == 2) {
            clip.times.push_back(std::llround(time * 1e7));
            clip.durations.push_back(std::llround(length * 1e7));
        } else if (line.starts_with("stream|")) {
            std::sscanf(line.c_str(), "stream|%*[^|]|%d|%d", &clip.width, &clip.height);
            clip.description += line + '\n';
        }
        std::sscanf(line.c_str(), "format|%lf", &clip.seconds);
    }
    if (clip.description.empty()) throw std::runtime_error("not a readable clip: " + file.string());
    return clip;
}

void forEachPicture(const std::filesystem::path& file, const Clip& clip,
                    const std::function<void(const ClipPicture&)>& look) {
    const auto output = run("ffmpeg -v error -i '" + file.string() +
                            "' -fps_mode passthrough -f rawvideo -pix_fmt yuv420p - 2>&1");
    ClipPicture picture{clip.width, clip.height, {}};
    picture.planes.resize(static_cast<std::size_t>(clip.width) * clip.height * 3 / 2);
    while (const std::size_t got =
               std::fread(picture.planes.data(), 1, picture.planes.size(), output.get())) {
        if (got != picture.planes.size())
            throw std::runtime_error(
                "decoder: " + std::string(picture.planes.begin(), picture.planes.begin() + got));
        look(picture);
    }
}
