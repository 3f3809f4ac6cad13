// The finished executable records the Windows desktop, with libraries of ours in place of the ones
// that Wine lacks. What it asks of them is compared with what it has to ask, call by call.

#include <gtest/gtest.h>

#include <windows.h>
#include <shellapi.h>

#include <cstdio>
#include <map>
#include <sstream>

#include "store/clip_name.h"
#include "tests/windows/desk.h"

namespace {

constexpr COLORREF paperColour = RGB(200, 60, 30);
constexpr COLORREF frameColour = RGB(255, 64, 64);

// Published numbers, so that a wrong one in the headers shows.
const std::map<std::string, std::string> published{
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

const std::string openingOfTheDesktop = R"(MFStartup 131184 0
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

const std::string openingOfTheWriter = R"(MFCreateAttributes 4 -> attributes<n>
attributes<n> SetUINT32 MF_READWRITE_ENABLE_HARDWARE_TRANSFORMS <hardware>
attributes<n> SetUINT32 MF_SINK_WRITER_DISABLE_THROTTLING 1
attributes<n> SetGUID MF_TRANSCODE_CONTAINERTYPE MFTranscodeContainerType_MPEG4
MFCreateSinkWriterFromURL <path> null attributes<n> -> writer<n>
MFCreateMediaType -> type<out>
type<out> SetGUID MF_MT_MAJOR_TYPE MFMediaType_Video
type<out> SetGUID MF_MT_SUBTYPE MFVideoFormat_H264
type<out> SetUINT32 MF_MT_AVG_BITRATE 12000000
type<out> SetUINT32 MF_MT_YUV_MATRIX 2
type<out> SetUINT32 MF_MT_VIDEO_NOMINAL_RANGE 2
type<out> SetUINT32 MF_MT_INTERLACE_MODE 2
type<out> SetUINT64 MF_MT_FRAME_SIZE 202 154
type<out> SetUINT64 MF_MT_FRAME_RATE 30 1
type<out> SetUINT64 MF_MT_PIXEL_ASPECT_RATIO 1 1
writer<n> AddStream type<out>
MFCreateMediaType -> type<in>
type<in> SetGUID MF_MT_MAJOR_TYPE MFMediaType_Video
type<in> SetGUID MF_MT_SUBTYPE MFVideoFormat_NV12
type<in> SetUINT32 MF_MT_YUV_MATRIX 2
type<in> SetUINT32 MF_MT_VIDEO_NOMINAL_RANGE 2
type<in> SetUINT32 MF_MT_INTERLACE_MODE 2
type<in> SetUINT64 MF_MT_FRAME_SIZE 202 154
type<in> SetUINT64 MF_MT_FRAME_RATE 30 1
type<in> SetUINT64 MF_MT_PIXEL_ASPECT_RATIO 1 1
writer<n> SetInputMediaType 7 type<in> null
)";

const std::string start = "writer<n> BeginWriting\n";

const std::string endOfTypes = R"(type<in> closed
type<out> closed
attributes<n> closed
)";

const std::string pictureTaken = R"(duplication1 AcquireNextFrame <poll> -> frame<n>
frame<n> QueryInterface ID3D11Texture2D -> picture<n>
context1 CopySubresourceRegion crop1 0 0 0 0 picture<n> 0 300 310 0 502 464 1
context1 Map crop1 0 1 0
context1 Unmap crop1 0
picture<n> closed
duplication1 ReleaseFrame
frame<n> closed
)";

const std::string sampleBegun = R"(MFCreateMemoryBuffer 46662 -> buffer<n>
buffer<n> Lock 0 0
buffer<n> Unlock
buffer<n> SetCurrentLength 46662
MFCreateSample -> sample<n>
sample<n> AddBuffer buffer<n>
)";

// One luma in the whole picture: nothing of the sheet or the frame is in it.
const std::string sampleWritten = R"(<writer> WriteSample 7 sample<n> luma 101 101 chroma 94 191
sample<n> closed
buffer<n> closed
)";

const std::string ending = R"(writer<n> Finalize
writer<n> closed
crop1 closed
duplication1 closed
context1 closed
device1 closed
MFShutdown
)";

using Words = std::vector<std::pair<std::string, std::string>>;

std::string filled(std::string text, const Words& words) {
    for (const auto& [name, word] : words)
        for (std::size_t at = 0; (at = text.find(name, at)) != std::string::npos; at += word.size())
            text.replace(at, name.size(), word);
    return text;
}

// The calls as they came, read line by line.
struct Record {
    explicit Record(const Path& file) {
        const Words names(published.begin(), published.end());
        std::istringstream input(filled(readFile(file), names));
        for (std::string line; std::getline(input, line);) lines.push_back(line);
    }
    std::string peek() const { return next < lines.size() ? lines[next] : "the end"; }
    void expect(const std::string& text, const Words& words) {
        if (testing::Test::HasFatalFailure()) return;  // Behind it all lines differ.
        std::istringstream input(filled(text, words));
        for (std::string line; std::getline(input, line); ++next) ASSERT_EQ(peek(), line) << next;
    }
    long long number(const std::string& operation) {
        const std::string line = peek();
        ++next;
        EXPECT_TRUE(line.starts_with(operation)) << line;
        return std::stoll(line.substr(operation.size()));
    }

    std::vector<std::string> lines;
    std::size_t next = 0;
};

void expectSamplesOnTheGrid(Record& record, const std::string& writer) {
    while (record.peek() == "duplication1 AcquireNextFrame 35") ++record.next;
    long long slot = -1;
    int frames = 0;
    for (int pass = 1; record.peek() != writer + " Finalize"; ++pass) {
        const std::string number = std::to_string(pass), poll = pass == 1 ? "35" : "0";
        if (pass % 3 == 0)
            record.expect("duplication1 AcquireNextFrame 0", {});
        else
            record.expect(pictureTaken, {{"<n>", std::to_string(++frames)}, {"<poll>", poll}});
        record.expect(sampleBegun, {{"<n>", number}});
        const long long time = record.number("sample" + number + " SetSampleTime ");
        const long long previous = std::exchange(slot, (time * 30 + 9'999'999) / 10'000'000);
        EXPECT_GT(slot, previous);
        EXPECT_EQ(time, slot * 10'000'000 / 30);
        EXPECT_EQ(record.number("sample" + number + " SetSampleDuration "),
                  (slot + 1) * 10'000'000 / 30 - time);
        EXPECT_TRUE(pass > 1 || slot == 0) << slot;
        record.expect(sampleWritten, {{"<n>", number}, {"<writer>", writer}});
        if (testing::Test::HasFatalFailure()) return;
    }
}

// The copy of the program has a name of its own, for which Wine's registry prefers the stand-ins in
// System32 to Wine's own libraries. The libraries beside it are empty: loading one of them ends the
// recording.
struct StandIn : testing::Test {
    StandIn() {
        forgetEverything();
        CopyFileW(TEXT("Z:") PROGRAM_FILE, programFile.c_str(), FALSE);
        SetEnvironmentVariableW(TEXT("STAND_IN_RECORD"), recordFile.string<WCHAR>().c_str());
        SetEnvironmentVariableW(TEXT("STAND_IN_REFUSES"), nullptr);
        for (const WideText library :
             {TEXT("dxgi"), TEXT("d3d11"), TEXT("mfplat"), TEXT("mfreadwrite")}) {
            const WideText file = library + TEXT(".dll");
            const WideText systemFile = TEXT("C:/windows/system32/") + file;
            CopyFileW(TEXT("Z:") STAND_IN_LIBRARY, systemFile.c_str(), FALSE);
            writeFile(scratch.path / file, "");
            setLoadOrder(library, TEXT("native"));
        }
    }

    void setLoadOrder(const WideText& library, const WideText& order) {
        RegSetKeyValueW(HKEY_CURRENT_USER,
                        TEXT("Software\\Wine\\AppDefaults\\Recorder.exe\\DllOverrides"),
                        library.c_str(), REG_SZ, order.c_str(),
                        static_cast<DWORD>((order.size() + 1) * sizeof(WCHAR)));
    }

    void dragRegion(const Program& program) {
        ASSERT_TRUE(program.isReady());
        ASSERT_TRUE(openSheet());
        input(TEXT("mousemove 300 310 mousedown 1 mousemove 400 400 mousemove 503 465 mouseup 1"));
    }

    // From the shortcut to the notice; the clip's name.
    void recordOneClip() {
        const Paper paper({200, 200, 700, 600}, paperColour);
        HANDLE const screenIsReady = CreateEventA(nullptr, TRUE, FALSE, "STAND_IN_SCREEN");
        const Program program(programFile);
        ASSERT_NO_FATAL_FAILURE(dragRegion(program));
        ASSERT_TRUE(waitUntil([] {
            return colourAt(299, 309) == frameColour && colourAt(502, 464) == frameColour &&
                   colourAt(300, 310) == paperColour && colourAt(501, 463) == paperColour;
        }));
        photograph(TEXT("red_frame.png"));
        SetEvent(screenIsReady);
        ASSERT_TRUE(waitUntil(
            [&] { return readFile(recordFile).find("sample31 closed") != std::string::npos; }));
        press({VK_ESCAPE});
        EXPECT_TRUE(takeNotice(TEXT("Copied — paste the video file."), TEXT("copied.png")));
        PostMessageW(runningProgram(), WM_CLOSE, 0, 0);
        EXPECT_EQ(program.exitCode(), 0u);
        CloseHandle(screenIsReady);
    }

    // The one clip is named in the ledger and on the clipboard. Its path while it was recorded.
    std::string expectOneClip() {
        const Path folder = dataFolderOnDisk() / "Recordings";
        const std::vector<std::string> names = namesIn(folder);
        if (names.size() != 2) throw std::runtime_error("Not one clip and the ledger");
        EXPECT_TRUE(isValidClipName(widenBytes(names[0]))) << names[0];
        EXPECT_EQ(readFile(folder / "completed.txt"), names[0] + "\r\n");
        WCHAR pasted[1000]{};
        EXPECT_TRUE(OpenClipboard(nullptr));
        const auto drop = static_cast<HDROP>(GetClipboardData(CF_HDROP));
        EXPECT_EQ(DragQueryFileW(drop, 0xFFFFFFFF, nullptr, 0), 1u);
        DragQueryFileW(drop, 0, pasted, 1000);
        CloseClipboard();
        EXPECT_EQ(Path(pasted), folder / names[0]);
        return partialPath(folder / names[0]).string();
    }

    const ScratchFolder scratch;
    const Path recordFile = scratch.path / "record.txt";
    const Path programFile = scratch.path / "Recorder.exe";
};

TEST_F(StandIn, aRecordingAsksForEverythingInItsOrder) {
    ASSERT_NO_FATAL_FAILURE(recordOneClip());
    const std::string path = expectOneClip();
    const Words words{
        {"<path>", path}, {"<n>", "1"}, {"<hardware>", "1"}, {"<out>", "1"}, {"<in>", "2"}};
    Record record(recordFile);
    record.expect(openingOfTheDesktop, {});
    record.expect(openingOfTheWriter + start + endOfTypes, words);
    expectSamplesOnTheGrid(record, "writer1");
    record.expect(ending, words);
    EXPECT_EQ(record.peek(), "the end");
}

// The second try finds no file in its way.
TEST_F(StandIn, aRefusedEncoderIsAskedAgainWithoutHardware) {
    SetEnvironmentVariableW(TEXT("STAND_IN_REFUSES"), TEXT("SetInputMediaType"));
    ASSERT_NO_FATAL_FAILURE(recordOneClip());
    const std::string path = expectOneClip();
    const Words first{
        {"<path>", path}, {"<n>", "1"}, {"<hardware>", "1"}, {"<out>", "1"}, {"<in>", "2"}};
    const Words second{
        {"<path>", path}, {"<n>", "2"}, {"<hardware>", "0"}, {"<out>", "3"}, {"<in>", "4"}};
    Record record(recordFile);
    record.expect(openingOfTheDesktop, {});
    record.expect(openingOfTheWriter + endOfTypes + "writer<n> closed", first);
    record.expect(openingOfTheWriter + start + endOfTypes, second);
    expectSamplesOnTheGrid(record, "writer2");
    record.expect(ending, second);
    EXPECT_EQ(record.peek(), "the end");
}

// Some editions of Windows come without Media Foundation.
TEST_F(StandIn, anAbsentLibraryFailsTheRecording) {
    setLoadOrder(TEXT("mfplat"), TEXT(""));
    const Program program(programFile);
    ASSERT_NO_FATAL_FAILURE(dragRegion(program));
    EXPECT_TRUE(
        takeNotice(TEXT("Media Foundation startup (0x8007007e)"), TEXT("absent_library.png")));
}

}  // namespace
