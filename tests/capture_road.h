// The calls of one recording's thread in their order, of 202 x 154 pixels at (300, 310) of the
// monitor: what every desktop has to see.

#pragma once

#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace road {

// The first groups of published identifiers, and their names.
inline const char* const published = R"(
770aae78 IDXGIFactory1   00cddea8 IDXGIOutput1   6f15aaf2 ID3D11Texture2D
a634a91c MF_READWRITE_ENABLE_HARDWARE_TRANSFORMS   08b845d8 MF_SINK_WRITER_DISABLE_THROTTLING
150ff23f MF_TRANSCODE_CONTAINERTYPE   dc6cd05d MFTranscodeContainerType_MPEG4
48eba18e MF_MT_MAJOR_TYPE   f7e34c9a MF_MT_SUBTYPE   20332624 MF_MT_AVG_BITRATE
3e23d450 MF_MT_YUV_MATRIX   c21b8ee5 MF_MT_VIDEO_NOMINAL_RANGE   e2724bb8 MF_MT_INTERLACE_MODE
1652c33d MF_MT_FRAME_SIZE   c459a2e8 MF_MT_FRAME_RATE   c6376a1e MF_MT_PIXEL_ASPECT_RATIO
73646976 MFMediaType_Video   34363248 MFVideoFormat_H264   3231564e MFVideoFormat_NV12
)";

// A table's calls, one a line. In the table " | " parts the calls of one step.
inline std::string lines(std::string table) {
    for (std::size_t at = 0; (at = table.find(" | ")) != std::string::npos;)
        table.replace(at, 3, "\n");
    return table.substr(1);
}

// The monitor is the second adapter's.
inline const std::string openingOfTheDesktop = lines(R"(
MFStartup 131184, 0 | CreateDXGIFactory1 IDXGIFactory1 | EnumAdapters1 0 | EnumOutputs 0 | GetDesc | Release IDXGIOutput1
EnumOutputs 1 | Release IDXGIAdapter1 | EnumAdapters1 1 | EnumOutputs 0 | GetDesc
D3D11CreateDevice 0, 32, 0, 7 | QueryInterface IDXGIOutput1 | DuplicateOutput
CreateTexture2D 202, 154, 1, 1, 87, 1, 0, 3, 0, 131072, 0
Release IDXGIOutput1 | Release IDXGIOutput1 | Release IDXGIAdapter1 | Release IDXGIFactory1
)");

inline std::string openingOfTheWriter(bool hardware) {
    return "MFCreateAttributes 4\nSetUINT32 MF_READWRITE_ENABLE_HARDWARE_TRANSFORMS, " +
           std::to_string(hardware) + "\n" + lines(R"(
SetUINT32 MF_SINK_WRITER_DISABLE_THROTTLING, 1
SetGUID MF_TRANSCODE_CONTAINERTYPE, MFTranscodeContainerType_MPEG4
MFCreateSinkWriterFromURL "<clip>.partial.mp4" | MFCreateMediaType
SetGUID MF_MT_MAJOR_TYPE, MFMediaType_Video | SetGUID MF_MT_SUBTYPE, MFVideoFormat_H264
SetUINT32 MF_MT_AVG_BITRATE, 12000000 | SetUINT32 MF_MT_YUV_MATRIX, 2
SetUINT32 MF_MT_VIDEO_NOMINAL_RANGE, 2 | SetUINT32 MF_MT_INTERLACE_MODE, 2
SetUINT64 MF_MT_FRAME_SIZE, 202, 154 | SetUINT64 MF_MT_FRAME_RATE, 30, 1
SetUINT64 MF_MT_PIXEL_ASPECT_RATIO, 1, 1 | AddStream | MFCreateMediaType
SetGUID MF_MT_MAJOR_TYPE, MFMediaType_Video | SetGUID MF_MT_SUBTYPE, MFVideoFormat_NV12
SetUINT32 MF_MT_YUV_MATRIX, 2 | SetUINT32 MF_MT_VIDEO_NOMINAL_RANGE, 2 | SetUINT32 MF_MT_INTERLACE_MODE, 2
SetUINT64 MF_MT_FRAME_SIZE, 202, 154 | SetUINT64 MF_MT_FRAME_RATE, 30, 1
SetUINT64 MF_MT_PIXEL_ASPECT_RATIO, 1, 1 | SetInputMediaType 0
)");
}

inline const std::string closingOfTheTypes = lines(R"(
Release IMFMediaType | Release IMFMediaType | Release IMFAttributes
)");

inline const std::string frame = lines(R"(
QueryInterface ID3D11Texture2D | CopySubresourceRegion 300, 310, 502, 464
Map 0, 1, 0 | Unmap 0 | Release ID3D11Texture2D | ReleaseFrame | Release IDXGIResource
)");

// Time and duration are on the grid of 30 a second, from 0 on.
inline const std::string sample = lines(R"(
MFCreateMemoryBuffer 46662 | Lock | Unlock | SetCurrentLength 46662
MFCreateSample | AddBuffer | SetSampleTime <slot> | SetSampleDuration <slot>
WriteSample 0 | Release IMFSample | Release IMFMediaBuffer
)");

inline const std::string closingOfTheDesktop = lines(R"(
Release ID3D11Texture2D | Release IDXGIOutputDuplication | Release ID3D11DeviceContext
Release ID3D11Device | MFShutdown
)");

// The first poll waits for a frame, and the desktop changes once more.
inline const std::string recording =
    openingOfTheDesktop + openingOfTheWriter(true) + "BeginWriting\n" + closingOfTheTypes +
    "AcquireNextFrame 35\n" + frame + sample + "AcquireNextFrame 0\n" + sample +
    "AcquireNextFrame 0\n" + frame + sample + "AcquireNextFrame 0\n" + sample +
    "Finalize\nRelease IMFSinkWriter\n" + closingOfTheDesktop;

// The lines with names for identifiers and slots, and without a pass that repeats the one before
// it. A pass begins with its poll, and the sleep that may end it is left out. The slots' numbers
// grow from 0 on.
inline std::string normalized(const std::vector<std::string>& lines) {
    std::string done, last, pass;
    long long slot = -1;
    const auto start = [](long long number) { return number * 10'000'000 / 30; };
    const auto endPass = [&] {
        if (pass.ends_with("sleep\n")) pass.resize(pass.size() - 6);
        if (pass != last) done += pass;
        last = std::exchange(pass, "");
    };
    for (std::string line : lines) {
        if (line.starts_with("AcquireNextFrame") || line == "Finalize") endPass();
        std::istringstream names(published);
        for (std::string number, name; names >> number >> name;)
            if (const std::size_t at = line.find(number + '-'); at != std::string::npos)
                line.replace(at, 36, name);
        if (line.starts_with("SetSampleTime ")) {
            const long long time = std::stoll(line.substr(14)), before = slot;
            slot = (time * 30 + 9'999'999) / 10'000'000;
            const bool follows = before < 0 ? slot == 0 : slot > before;
            if (follows && time == start(slot)) line = "SetSampleTime <slot>";
        }
        if (line == "SetSampleDuration " + std::to_string(start(slot + 1) - start(slot)))
            line = "SetSampleDuration <slot>";
        pass += line + '\n';
    }
    endPass();
    return done;
}

}  // namespace road
