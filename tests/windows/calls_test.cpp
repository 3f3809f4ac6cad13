// What a recording requests of the system, call by call, and what becomes of it where the system
// has no desktop duplication.

#include <winternl.h>

#include <regex>

#include "store/clip_name.h"
#include "tests/capture_road.h"
#include "tests/windows/wine.h"

using namespace user;

namespace {

using road::published;

// Of objects that come more than once the numbers are left out.
const std::string openingOfDesktop = R"(MFStartup 131184 0
CreateDXGIFactory1 IDXGIFactory1 -> factory1
factory1 EnumAdapters1 0 -> adapter1
adapter1 EnumOutputs 0 -> output1
output1 GetDesc
output1 closed
adapter1 EnumOutputs 1
adapter1 closed
factory1 EnumAdapters1 1 -> adapter2
adapter2 EnumOutputs 0 -> output2
output2 GetDesc
D3D11CreateDevice adapter2 0 0 32 0 0 7 0 -> device1 context1
output2 QueryInterface IDXGIOutput1 -> view1
view1 DuplicateOutput device1 -> duplication1
device1 CreateTexture2D 202 154 1 1 87 1 0 3 0 131072 0 null -> crop1
view1 closed
output2 closed
adapter2 closed
factory1 closed
)";

// First with hardware, which is refused, then without.
const std::string openingOfWriter = R"(MFCreateAttributes 4 -> attributes
attributes SetUINT32 MF_READWRITE_ENABLE_HARDWARE_TRANSFORMS <hardware>
attributes SetUINT32 MF_SINK_WRITER_DISABLE_THROTTLING 1
attributes SetGUID MF_TRANSCODE_CONTAINERTYPE MFTranscodeContainerType_MPEG4
MFCreateSinkWriterFromURL <clip> null attributes -> writer
MFCreateMediaType -> output
output SetGUID MF_MT_MAJOR_TYPE MFMediaType_Video
output SetGUID MF_MT_SUBTYPE MFVideoFormat_H264
output SetUINT32 MF_MT_AVG_BITRATE 12000000
output SetUINT32 MF_MT_YUV_MATRIX 2
output SetUINT32 MF_MT_VIDEO_NOMINAL_RANGE 2
output SetUINT32 MF_MT_INTERLACE_MODE 2
output SetUINT64 MF_MT_FRAME_SIZE 202 154
output SetUINT64 MF_MT_FRAME_RATE 30 1
output SetUINT64 MF_MT_PIXEL_ASPECT_RATIO 1 1
writer AddStream output
MFCreateMediaType -> input
input SetGUID MF_MT_MAJOR_TYPE MFMediaType_Video
input SetGUID MF_MT_SUBTYPE MFVideoFormat_NV12
input SetUINT32 MF_MT_YUV_MATRIX 2
input SetUINT32 MF_MT_VIDEO_NOMINAL_RANGE 2
input SetUINT32 MF_MT_INTERLACE_MODE 2
input SetUINT64 MF_MT_FRAME_SIZE 202 154
input SetUINT64 MF_MT_FRAME_RATE 30 1
input SetUINT64 MF_MT_PIXEL_ASPECT_RATIO 1 1
writer SetInputMediaType 7 input null
)";

const std::string closing = R"(input closed
output closed
attributes closed
)";

const std::string frameTaken = R"( -> frame
frame QueryInterface ID3D11Texture2D -> picture
context1 CopySubresourceRegion crop1 0 0 0 0 picture 0 300 310 0 502 464 1
context1 Map crop1 0 1 0
context1 Unmap crop1 0
picture closed
duplication1 ReleaseFrame
frame closed
)";

// One luma in the whole frame: nothing of the sheet or the red frame is in it.
const std::string sampleWritten = R"(MFCreateMemoryBuffer 46662 -> buffer
buffer Lock 0 0
buffer Unlock
buffer SetCurrentLength 46662
MFCreateSample -> sample
sample AddBuffer buffer
sample SetSampleTime <time>
sample SetSampleDuration <duration>
writer WriteSample 7 sample luma 92 92 chroma 163 103
sample closed
buffer closed
)";

const std::string ending = R"(writer Finalize
writer closed
crop1 closed
duplication1 closed
context1 closed
device1 closed
MFShutdown
)";

std::string replaced(std::string text, const std::string& word, const std::string& other) {
    for (std::size_t at = 0; (at = text.find(word, at)) != std::string::npos; at += other.size())
        text.replace(at, word.size(), other);
    return text;
}

std::string readRecord(const Path& clip) {
    std::string text = replaced(readFile(callRecord()), partialPath(clip).string(), "<clip>");
    for (const auto& [number, name] : published) text = replaced(text, number, name);
    text = std::regex_replace(text, std::regex("type[13]\\b"), "output");
    text = std::regex_replace(text, std::regex("type[24]\\b"), "input");
    const std::regex repeated("\\b(attributes|writer|frame|picture|buffer|sample)[0-9]+");
    return std::regex_replace(text, repeated, "$1");
}

void expectSamplesOnTheGrid(const std::string& passes) {
    const std::string poll = "duplication1 AcquireNextFrame ";
    long long slot = -1;
    int pass = 0;
    for (std::size_t at = 0, next; at < passes.size(); at = next) {
        next = std::min(passes.find(poll, at + 1), passes.size());
        const std::string calls = passes.substr(at, next - at);
        if (pass == 0 && calls == poll + "35\n") continue;
        const std::size_t timeAt = calls.find("SetSampleTime ");
        ASSERT_NE(timeAt, std::string::npos) << calls;
        const long long time = std::stoll(calls.substr(timeAt + 14));
        const long long previous = std::exchange(slot, (time * 30 + 9'999'999) / 10'000'000);
        EXPECT_TRUE(++pass == 1 ? slot == 0 : slot > previous) << slot;
        const long long start = slot * 10'000'000 / 30, end = (slot + 1) * 10'000'000 / 30;
        const std::string sample = replaced(sampleWritten, "<time>", std::to_string(start));
        EXPECT_EQ(calls, poll + (pass == 1 ? "35" : "0") + (pass % 3 == 0 ? "\n" : frameTaken) +
                             replaced(sample, "<duration>", std::to_string(end - start)));
    }
    EXPECT_GE(pass, 31);
}

std::ptrdiff_t openHandles() {
    struct {
        ULONG_PTR count, reserved;
        struct {
            void* object;
            ULONG_PTR process, handle;
            ULONG rights[4];
        } entries[20000];
    } static list;
    constexpr auto everyHandle = static_cast<SYSTEM_INFORMATION_CLASS>(64);
    NtQuerySystemInformation(everyHandle, &list, sizeof list, nullptr);
    DWORD program = 0;
    GetWindowThreadProcessId(FindWindowW(TEXT("QuorvelDeskClip"), nullptr), &program);
    return std::count_if(list.entries, list.entries + list.count,
                         [&](const auto& entry) { return entry.process == program; });
}

}  // namespace

TEST(Calls, requestsEverythingInItsOrder) {
    atDesktop([] {
        SetEnvironmentVariableW(TEXT("STAND_IN_REFUSES"), TEXT("SetInputMediaType"));
        const Program program;
        SetEnvironmentVariableW(TEXT("STAND_IN_REFUSES"), nullptr);
        startRecording({300, 310, 502, 464}, 31);
        const std::string record = readRecord(stopRecording());
        const std::size_t first = record.find("duplication1 AcquireNextFrame");
        const std::size_t last = record.find("writer Finalize");
        ASSERT_LT(first, last);
        EXPECT_EQ(record.substr(0, first),
                  openingOfDesktop + replaced(openingOfWriter, "<hardware>", "1") + closing +
                      "writer closed\n" + replaced(openingOfWriter, "<hardware>", "0") +
                      "writer BeginWriting\n" + closing);
        expectSamplesOnTheGrid(record.substr(first, last - first));
        EXPECT_EQ(record.substr(last), ending);
    });
}

// Wine's own libraries do everything up to the duplication.
TEST(Calls, tellsThatTheDesktopCannotBeDuplicated) {
    atDesktop([] {
        for (const std::string& library : libraries) setLoadOrder(library, "builtin");
        const Program program;
        std::ptrdiff_t handles = 0;
        for (int round = 0; round < 4; ++round) {
            openSheet();
            drag({300, 310, 502, 464});
            awaitNotice("Duplicate desktop (local unlocked desktop required) (0x80004001)");
            await("the end of the overlay", [] { return !frameIsUp(); });
            EXPECT_TRUE(othersGet({VK_ESCAPE}));
            if (round == 1) handles = openHandles();
            EXPECT_TRUE(handles > 0 || round == 0);
        }
        // The system's own threads come and go.
        EXPECT_LE(openHandles(), handles + 1);
        EXPECT_TRUE(clips().empty());
    });
}

// Some editions of Windows come without Media Foundation.
TEST(Calls, tellsThatALibraryIsAbsent) {
    atDesktop([] {
        setLoadOrder("mfplat", "");
        const Program program;
        openSheet();
        drag({300, 310, 502, 464});
        awaitNotice("Media Foundation startup (0x8007007e)");
    });
}
