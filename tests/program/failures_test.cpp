// Every failure that the program words: brought about by a planned fault, told with its exact text,
// and gone without a trace: nothing held, no partial file, and the next recording works.

#include "tests/program/outcome.h"

using namespace user;

namespace {

struct Row {
    const char* operation;
    std::vector<const char*> labels;  // of its first call, of its second, and so on
};

constexpr DWORD unexpected = 0x8000ffff;
const char* const copied = "Copied — paste the video file.";

// With the windows and the icon of an idle program.
std::map<std::string, int> idleObjects() {
    await("the end of the overlay", [] { return !sheetIsUp() && !frameIsUp(); });
    return desktop::openObjects();
}

void expectNothingLeft(const std::map<std::string, int>& idle) {
    // The worker's last references go a moment after its message.
    desktop::waitUntil([&] { return desktop::openObjects() == idle; });
    EXPECT_EQ(desktop::openObjects(), idle);
    EXPECT_FALSE(isPartialFileLeft());
}

desktop::Fault failing(const std::string& operation, int nth, DWORD code,
                       bool andAllLater = false) {
    return {desktop::Fault::Fail, operation, nth, code, andAllLater};
}

// One recording that meets the faults, and one after it that must succeed.
void expectTold(const std::vector<desktop::Fault>& faults, const std::string& text) {
    SCOPED_TRACE(text);
    const auto idle = idleObjects();
    for (const desktop::Fault& fault : faults) desktop::planFault(fault);
    const Outcome outcome = recordOneClip(5);  // later than any planned fault
    EXPECT_TRUE(desktop::faultStruck());
    desktop::clearFaults();
    EXPECT_FALSE(outcome.clip);
    EXPECT_EQ(desktop::balloons().back().text, text);
    expectNothingLeft(idle);
    EXPECT_TRUE(recordOneClip().clip);
}

// Each call that fails in turn. With `inBothTries` at the same step of both tries to open the
// writer, since only then it is told.
void expectAllTold(const std::vector<Row>& rows, bool inBothTries = false) {
    atDesktop([&] {
        Program program;
        EXPECT_TRUE(recordOneClip().clip);
        for (const auto& [operation, labels] : rows) {
            int nth = 0;
            for (const std::string label : labels) {
                ++nth;
                if (label.empty()) continue;
                std::vector<desktop::Fault> faults{failing(operation, nth, unexpected)};
                if (inBothTries) faults.push_back(failing(operation, 2 * nth, unexpected));
                expectTold(faults, label + " (0x8000ffff)");
            }
        }
    });
}

// After a call out of sight anything may stand there, even a clip on its way. Esc ends it, and the
// program is idle again once a new sheet opens.
void returnToIdle(const std::map<std::string, int>& idle) {
    desktop::releaseButton(1);
    const auto isQuiet = [&] {
        pressEsc();
        return !sheetIsUp() && !frameIsUp() && desktop::openObjects() == idle;
    };
    await("a new sheet", [&] {
        if (!isQuiet()) return false;
        pressShortcut();
        return desktop::waitUntil(sheetIsUp, 1);
    });
    await("an idle program", isQuiet);
}

}  // namespace

TEST(Failures, withoutACode) {
    atDesktop([] {
        Program program;
        EXPECT_TRUE(recordOneClip().clip);
        expectTold({failing("SetWindowsHookExW", 1, 5)},
                   "Could not install temporary Escape hook; recording not started.");
        expectTold({failing("GetMonitorInfoW", 1, 0)}, "Monitor unavailable");
        expectTold({failing("MoveFileExW", 1, 5)}, "Cannot publish completed MP4");
        const char* const acquire = "IDXGIOutputDuplication::AcquireNextFrame";
        desktop::planFault(failing(acquire, 1, 0x887a0027, true));
        EXPECT_EQ(recordOneClip().notices.back(), "No desktop frame received");
        desktop::clearFaults();
        std::vector<std::int64_t> times;
        for (const desktop::LoggedCall& call : desktop::callLog())
            if (call.operation == acquire) times.push_back(call.time);
        // Of the five seconds, on however busy a machine.
        EXPECT_GT(times.back() - times.front(), 3'000'000'000);
        openSheet();
        desktop::planFault({.kind = desktop::Fault::Stall, .operation = "MFCreateAttributes"});
        drag({100, 100, 420, 340});
        await("the frame", frameIsUp);
        pressEsc();
        desktop::waitForBalloon("Finishing clip…");
        desktop::clearFaults();
        desktop::waitForBalloon("Recording stopped before its first frame");
        EXPECT_TRUE(recordOneClip().clip);
        EXPECT_FALSE(isPartialFileLeft());
    });
}

TEST(Failures, ofTheDesktopSource) {
    const char* const lost = "Acquire desktop (display mode/lock changed)";
    expectAllTold(
        {{"CoCreateGuid", {"Recording ID"}},
         {"CoInitializeEx", {"COM startup"}},
         {"MFStartup", {"Media Foundation startup"}},
         {"CreateDXGIFactory1", {"DXGI factory"}},
         {"IDXGIFactory1::EnumAdapters1", {"Enumerate adapters"}},
         {"IDXGIAdapter::EnumOutputs", {"Enumerate outputs"}},
         {"IDXGIOutput::GetDesc", {"Output description"}},
         {"D3D11CreateDevice", {"D3D11 device"}},
         {"QueryInterface", {"Desktop duplication support", "Desktop texture"}},
         {"IDXGIOutput1::DuplicateOutput", {"Duplicate desktop (local unlocked desktop required)"}},
         {"ID3D11Device::CreateTexture2D", {"Crop texture"}},
         {"IDXGIOutputDuplication::AcquireNextFrame", {lost, "", lost}},
         {"ID3D11DeviceContext::Map", {"Map crop"}}});
}

TEST(Failures, ofOpeningTheWriter) {
    expectAllTold(
        {{"MFCreateAttributes", {"Encoder attributes"}},
         {"IMFAttributes::SetUINT32",
          {"Hardware preference", "Encoder throttle", "Bitrate", "Output color matrix",
           "Output color range", "Progressive", "Input color matrix", "Input color range",
           "Input progressive"}},
         {"IMFAttributes::SetGUID", {"MP4 container", "Video type", "H264", "Input video", "NV12"}},
         {"IMFAttributes::SetUINT64",
          {"Output size", "Output fps", "Output aspect", "Input size", "Input fps",
           "Input aspect"}},
         {"MFCreateSinkWriterFromURL", {"Create MP4"}},
         {"MFCreateMediaType", {"Output type", "Input type"}},
         {"IMFSinkWriter::AddStream", {"H264 stream"}},
         {"IMFSinkWriter::SetInputMediaType", {"Encoder input"}},
         {"IMFSinkWriter::BeginWriting", {"Start encoder"}}},
        true);
}

TEST(Failures, ofWritingAndFinishing) {
    expectAllTold({{"MFCreateMemoryBuffer", {"", "Frame buffer"}},
                   {"IMFMediaBuffer::Lock", {"", "Lock buffer"}},
                   {"IMFMediaBuffer::Unlock", {"Unlock buffer"}},
                   {"IMFMediaBuffer::SetCurrentLength", {"Buffer length"}},
                   {"MFCreateSample", {"Frame sample"}},
                   {"IMFSample::AddBuffer", {"Sample buffer"}},
                   {"IMFSample::SetSampleTime", {"Frame timestamp"}},
                   {"IMFSample::SetSampleDuration", {"Frame duration"}},
                   {"IMFSinkWriter::WriteSample", {"Encode frame"}},
                   {"IMFSinkWriter::Finalize", {"Finalize MP4"}}});
}

TEST(Failures, ofTheStepsAfterTheClipIsSafe) {
    const std::string cannotCopy = "Clip saved, but file or clipboard access failed. Open recent "
                                   "clips to copy it manually.";
    const std::string warning = "Clip saved; retention warning: ";
    const struct {
        std::vector<desktop::Fault> faults;
        std::string text;
    } rows[] = {
        {{failing("SetTimer", 1, 8)},
         "Clip saved; clipboard retry timer unavailable. Open recent clips."},
        {{failing("OpenClipboard", 1, 5, true)}, cannotCopy},
        {{failing("EmptyClipboard", 1, 5, true)}, cannotCopy},
        {{failing("SetClipboardData", 1, 5, true)}, cannotCopy},
        {{failing("GlobalAlloc", 1, 8, true)}, cannotCopy},
        {{failing("GlobalLock", 1, 8, true)}, cannotCopy},
        {{failing("MoveFileExW", 2, 5)},
         warning + "Cannot replace recording ownership ledger (Windows error 5)"},
        {{failing("GetFileAttributesW", 1, 5)}, warning + "Refusing retention in a linked folder"},
        {{failing("DeleteFileW", 2, 32)},  // By now there are more than five.
         warning + "Could not remove an old owned clip (file may be in use)"},
        {{failing("OpenClipboard", 1, 5), failing("EmptyClipboard", 1, 5)}, copied},
        // The second try without hardware takes over, and nobody hears of it.
        {{failing("IMFSinkWriter::BeginWriting", 1, unexpected)}, copied},
    };
    atDesktop([&] {
        Program program;
        EXPECT_TRUE(recordOneClip().clip);
        const auto idle = idleObjects();
        for (const auto& row : rows) {
            SCOPED_TRACE(row.text);
            for (const desktop::Fault& fault : row.faults) desktop::planFault(fault);
            const Outcome outcome = recordOneClip();
            EXPECT_TRUE(desktop::faultStruck());
            desktop::clearFaults();
            EXPECT_TRUE(outcome.clip);
            EXPECT_EQ(std::count(outcome.notices.begin(), outcome.notices.end(), row.text), 1);
            expectNothingLeft(idle);
        }
        std::filesystem::create_directory(recordings() / "completed.txt.new");
        EXPECT_EQ(recordOneClip().notices.at(1),
                  warning + "Cannot write recording ownership ledger; check free space and folder "
                            "permissions");
        std::filesystem::remove(recordings() / "completed.txt.new");
        EXPECT_EQ(recordOneClip().notices.back(), copied);
    });
}

// Lets every call of one recording fail in turn.
TEST(Failures, survivesAFailureOfAnyCall) {
    atDesktop([] {
        Program program;
        EXPECT_TRUE(recordOneClip().clip);
        const auto idle = idleObjects();
        int call = 0;
        for (bool struck = true; struck && !::testing::Test::HasFailure();) {
            desktop::planFault(failing("", ++call, 0));
            const Outcome outcome = recordOneClip();
            struck = desktop::faultStruck();
            const std::string operation = desktop::struckCall();
            SCOPED_TRACE(std::to_string(call) + " " + operation);
            desktop::clearFaults();
            EXPECT_TRUE(outcome.clip || !outcome.notices.empty() || isOutOfSight(operation));
            if (isOutOfSight(operation)) returnToIdle(idle);
            expectNothingLeft(idle);
            EXPECT_TRUE(recordOneClip().clip);
        }
        EXPECT_GT(call, 100);  // Fewer means that the recording never got going.
    });
}
