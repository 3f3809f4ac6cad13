// Runs the reader's commands and takes their output apart.

#include "tests/clip_reader.h"

#include <cstdio>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace {

struct PipeCloser {
    void operator()(FILE* pipe) const { pclose(pipe); }
};

// Starts a command of the shell and hands out its standard output. `file` goes in quotes.
std::unique_ptr<FILE, PipeCloser> run(const std::string& command) {
    std::unique_ptr<FILE, PipeCloser> output(popen(command.c_str(), "r"));
    if (!output) throw std::runtime_error("cannot run " + command);
    return output;
}

std::string quoted(const std::filesystem::path& file) { return "'" + file.string() + "'"; }

std::string outputOf(const std::string& command) {
    const auto pipe = run(command);
    std::string text;
    char part[4096];
    for (std::size_t got; (got = std::fread(part, 1, sizeof part, pipe.get())) > 0;)
        text.append(part, got);
    return text;
}

std::map<std::string, std::string> entriesOf(const std::string& text) {
    std::map<std::string, std::string> entries;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        if (const auto equals = line.find('='); equals != std::string::npos)
            entries[line.substr(0, equals)] = line.substr(equals + 1);
    return entries;
}

void readSamples(const std::filesystem::path& file, std::int64_t scale, Clip& clip) {
    std::istringstream lines(
        outputOf("ffprobe -v error -select_streams v:0 -show_entries packet=pts,duration -of "
                 "compact=p=0:nk=1 " +
                 quoted(file)));
    for (std::string line; std::getline(lines, line);) {
        std::int64_t time = 0, duration = 0;
        if (std::sscanf(line.c_str(), "%ld|%ld", &time, &duration) != 2) continue;
        clip.times.push_back(time * 10'000'000 / scale);
        clip.durations.push_back(duration * 10'000'000 / scale);
    }
}

}  // namespace

Clip readClip(const std::filesystem::path& file) {
    const std::string probe = "ffprobe -v error -of default=nw=1 -show_entries ";
    auto stream = entriesOf(outputOf(probe +
                                     "stream=codec_name,width,height,r_frame_rate,color_space,"
                                     "color_range,sample_aspect_ratio,time_base -select_streams "
                                     "v:0 " +
                                     quoted(file)));
    auto format = entriesOf(outputOf(probe + "format=nb_streams,duration " + quoted(file)));
    if (stream["codec_name"].empty())
        throw std::runtime_error("not a readable clip: " + file.string());
    Clip clip;
    clip.width = std::stoi(stream["width"]);
    clip.height = std::stoi(stream["height"]);
    clip.seconds = std::stod(format["duration"]);
    clip.description = stream["codec_name"] + " " + stream["width"] + "x" + stream["height"] + " " +
                       stream["r_frame_rate"] + " " + stream["color_space"] + " " +
                       stream["color_range"] + " " + stream["sample_aspect_ratio"] +
                       " streams=" + format["nb_streams"];
    readSamples(file, std::stoll(stream["time_base"].substr(2)), clip);
    return clip;
}

void forEachPicture(const std::filesystem::path& file, const Clip& clip,
                    const std::function<void(const ClipPicture&)>& look) {
    const auto pipe = run("ffmpeg -v error -i " + quoted(file) +
                          " -fps_mode passthrough -f rawvideo -pix_fmt yuv420p - 2>&1");
    ClipPicture picture{clip.width, clip.height, {}};
    picture.planes.resize(static_cast<std::size_t>(clip.width) * clip.height * 3 / 2);
    for (;;) {
        const std::size_t got =
            std::fread(picture.planes.data(), 1, picture.planes.size(), pipe.get());
        if (got == 0) return;
        if (got != picture.planes.size()) {
            const char* const words = reinterpret_cast<const char*>(picture.planes.data());
            throw std::runtime_error("decoder: " + std::string(words, got));
        }
        look(picture);
    }
}
