// The calls of one recording's thread in their order, of 202 x 154 pixels at (300, 310) of the
// monitor: what every desktop has to see.

#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace road {

// Published numbers, so that a wrong one in the headers shows.
inline const std::map<std::string, std::string> published{
    {"770aae78-f26f-4dba-a829-253c83d1b387", "IDXGIFactory1"},
    {"00cddea8-939b-4b83-a340-a685226666cc", "IDXGIOutput1"},
    {"6f15aaf2-d208-4e89-9ab4-489535d34f9c", "ID3D11Texture2D"},
    {"a634a91c-822b-41b9-a494-4de4643612b0", "MF_READWRITE_ENABLE_HARDWARE_TRANSFORMS"},
    {"08b845d8-2b74-4afe-9d53-be16d2d5ae4f", "MF_SINK_WRITER_DISABLE_THROTTLING"},
    {"150ff23f-4abc-478b-ac4f-e1916fba1cca", "MF_TRANSCODE_CONTAINERTYPE"},
    {"dc6cd05d-b9d0-40ef-bd35-fa622c1ab28a", "MFTranscodeContainerType_MPEG4"},
    {"48eba18e-f8c9-4687-bf11-0a74c9f96a8f", "MF_MT_MAJOR_TYPE"},
    {"f7e34c9a-42e8-4714-b74b-cb29d72c35e5", "MF_MT_SUBTYPE"},
    {"20332624-fb0d-4d9e-bd0d-cbf6786c102e", "MF_MT_AVG_BITRATE"},
    {"3e23d450-2c75-4d25-a00e-b91670d12327", "MF_MT_YUV_MATRIX"},
    {"c21b8ee5-b956-4071-8daf-325edf5cab11", "MF_MT_VIDEO_NOMINAL_RANGE"},
    {"e2724bb8-e676-4806-b4b2-a8d6efb44ccd", "MF_MT_INTERLACE_MODE"},
    {"1652c33d-d6b2-4012-b834-72030849a37d", "MF_MT_FRAME_SIZE"},
    {"c459a2e8-3d2c-4e44-b132-fee5156c7bb0", "MF_MT_FRAME_RATE"},
    {"c6376a1e-8d0a-4027-be45-6d9a0ad39bb6", "MF_MT_PIXEL_ASPECT_RATIO"},
    {"73646976-0000-0010-8000-00aa00389b71", "MFMediaType_Video"},
    {"34363248-0000-0010-8000-00aa00389b71", "MFVideoFormat_H264"},
    {"3231564e-0000-0010-8000-00aa00389b71", "MFVideoFormat_NV12"},
};

// A table's calls, one a line. In the table " | " parts the calls of one step.
inline std::string lines(std::string table) {
    for (std::size_t at = 0; (at = table.find(" | ")) != std::string::npos;)
        table.replace(at, 3, "\n");
    return table.substr(1);
}

// The monitor is the second adapter's.
inline const std::string openingOfTheDesktop = lines(R"(
CoInitializeEx 0 | MFStartup 131184, 0 | CreateDXGIFactory1 IDXGIFactory1
EnumAdapters1 0 | EnumOutputs 0 | GetDesc
Release IDXGIOutput1 | EnumOutputs 1 | Release IDXGIAdapter1
EnumAdapters1 1 | EnumOutputs 0 | GetDesc
D3D11CreateDevice 0, 32, 0, 7 | QueryInterface IDXGIOutput1 | DuplicateOutput
CreateTexture2D 202, 154, 1, 1, 87, 1, 0, 3, 0, 131072, 0
Release IDXGIOutput1 | Release IDXGIOutput1 | Release IDXGIAdapter1 | Release IDXGIFactory1
)");

// With or without the preference for hardware.
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
SetUINT64 MF_MT_PIXEL_ASPECT_RATIO, 1, 1
AddStream | MFCreateMediaType
SetGUID MF_MT_MAJOR_TYPE, MFMediaType_Video | SetGUID MF_MT_SUBTYPE, MFVideoFormat_NV12
SetUINT32 MF_MT_YUV_MATRIX, 2 | SetUINT32 MF_MT_VIDEO_NOMINAL_RANGE, 2
SetUINT32 MF_MT_INTERLACE_MODE, 2
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
MFCreateSample | AddBuffer
SetSampleTime <slot> | SetSampleDuration <slot>
WriteSample 0 | Release IMFSample | Release IMFMediaBuffer
)");

inline const std::string closingOfTheDesktop = lines(R"(
Release ID3D11Texture2D | Release IDXGIOutputDuplication | Release ID3D11DeviceContext
Release ID3D11Device | MFShutdown | CoUninitialize
)");

// The slots' numbers grow from 0 on.
struct Grid {
    std::string named(const std::string& line) {
        const std::size_t blank = line.find(' ');
        const std::string operation = line.substr(0, blank);
        if (operation == "SetSampleTime") {
            const long long time = std::stoll(line.substr(blank)), before = slot;
            slot = (time * 30 + 9'999'999) / 10'000'000;
            const bool follows = before < 0 ? slot == 0 : slot > before;
            return follows && time == start(slot) ? operation + " <slot>" : line;
        }
        if (operation == "SetSampleDuration" &&
            std::stoll(line.substr(blank)) == start(slot + 1) - start(slot))
            return operation + " <slot>";
        return line;
    }
    static long long start(long long number) { return number * 10'000'000 / 30; }

    long long slot = -1;
};

// The lines with names for identifiers and slots, and without a pass that repeats the one before
// it. A pass begins with its poll, and the sleep that may end it is left out.
inline std::string normalized(const std::vector<std::string>& lines) {
    std::string done, last, pass;
    Grid grid;
    const auto endPass = [&] {
        if (pass.ends_with("sleep\n")) pass.resize(pass.size() - 6);
        if (pass != last) done += pass;
        last = std::exchange(pass, "");
    };
    for (std::string line : lines) {
        if (line.starts_with("AcquireNextFrame") || line == "Finalize") endPass();
        for (const auto& [number, name] : published)
            if (const std::size_t at = line.find(number); at != std::string::npos)
                line.replace(at, number.size(), name);
        pass += grid.named(line) + '\n';
    }
    endPass();
    return done;
}

}  // namespace road
