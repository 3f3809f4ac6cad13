// Every failure that the program words: brought about by a planned fault, told with its exact text,
// and gone without a trace: nothing held, no partial file, and the next recording works.

#include "tests/program/person.h"

using namespace person;

namespace {

struct Row {
    const char* operation;
    int nth;
    const char* text;
};

constexpr DWORD unexpected = 0x8000ffff;
const char* const copied = "Copied — paste the video file.";

// With the windows and the icon of an idle program.
std::map<std::string, int> idleObjects() {
    await("the end of the overlay", [] { return !isShown("QuorvelClipOverlay"); });
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
    EXPECT_EQ(lastNotice(), text);
    expectNothingLeft(idle);
    EXPECT_TRUE(recordOneClip().clip);
}

// Each row in turn; with `inBothTries` at the same step of both tries to open the writer, since
// only then it is told.
void expectAllTold(const std::vector<Row>& rows, bool inBothTries = false) {
    atDesktop([&] {
        Program program;
        EXPECT_TRUE(recordOneClip().clip);
        for (const auto& [operation, nth, text] : rows) {
            std::vector<desktop::Fault> faults{failing(operation, nth, unexpected)};
            if (inBothTries) faults.push_back(failing(operation, 2 * nth, unexpected));
            expectTold(faults, std::string(text) + " (0x8000ffff)");
        }
    });
}

// After a call out of sight anything may stand there, even a clip on its way. Esc ends it, and the
// program is idle again once a new sheet opens.
void returnToIdle(const std::map<std::string, int>& idle) {
    desktop::releaseButton(1);
    const auto isQuiet = [&] {
        pressEsc();
        return !isShown("QuorvelClipOverlay") && desktop::openObjects() == idle;
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
        expectTold({failing("IDXGIOutputDuplication::AcquireNextFrame", 1, 0x887a0027, true)},
                   "No desktop frame received");
        openSheet();
        desktop::planFault({.kind = desktop::Fault::Stall, .operation = "MFCreateAttributes"});
        drag(100, 100, 420, 340);
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
    expectAllTold({{"CoCreateGuid", 1, "Recording ID"},
                   {"CoInitializeEx", 1, "COM startup"},
                   {"MFStartup", 1, "Media Foundation startup"},
                   {"CreateDXGIFactory1", 1, "DXGI factory"},
                   {"IDXGIFactory1::EnumAdapters1", 1, "Enumerate adapters"},
                   {"IDXGIAdapter::EnumOutputs", 1, "Enumerate outputs"},
                   {"IDXGIOutput::GetDesc", 1, "Output description"},
                   {"D3D11CreateDevice", 1, "D3D11 device"},
                   {"QueryInterface", 1, "Desktop duplication support"},
                   {"IDXGIOutput1::DuplicateOutput", 1,
                    "Duplicate desktop (local unlocked desktop required)"},
                   {"ID3D11Device::CreateTexture2D", 1, "Crop texture"},
                   {"IDXGIOutputDuplication::AcquireNextFrame", 1,
                    "Acquire desktop (display mode/lock changed)"},
                   {"IDXGIOutputDuplication::AcquireNextFrame", 3,
                    "Acquire desktop (display mode/lock changed)"},
                   {"QueryInterface", 2, "Desktop texture"},
                   {"ID3D11DeviceContext::Map", 1, "Map crop"}});
}

TEST(Failures, ofOpeningTheWriter) {
    expectAllTold({{"MFCreateAttributes", 1, "Encoder attributes"},
                   {"IMFAttributes::SetUINT32", 1, "Hardware preference"},
                   {"IMFAttributes::SetUINT32", 2, "Encoder throttle"},
                   {"IMFAttributes::SetGUID", 1, "MP4 container"},
                   {"MFCreateSinkWriterFromURL", 1, "Create MP4"},
                   {"MFCreateMediaType", 1, "Output type"},
                   {"IMFAttributes::SetGUID", 2, "Video type"},
                   {"IMFAttributes::SetGUID", 3, "H264"},
                   {"IMFAttributes::SetUINT32", 3, "Bitrate"},
                   {"IMFAttributes::SetUINT32", 4, "Output color matrix"},
                   {"IMFAttributes::SetUINT32", 5, "Output color range"},
                   {"IMFAttributes::SetUINT32", 6, "Progressive"},
                   {"IMFAttributes::SetUINT64", 1, "Output size"},
                   {"IMFAttributes::SetUINT64", 2, "Output fps"},
                   {"IMFAttributes::SetUINT64", 3, "Output aspect"},
                   {"IMFSinkWriter::AddStream", 1, "H264 stream"},
                   {"MFCreateMediaType", 2, "Input type"},
                   {"IMFAttributes::SetGUID", 4, "Input video"},
                   {"IMFAttributes::SetGUID", 5, "NV12"},
                   {"IMFAttributes::SetUINT32", 7, "Input color matrix"},
                   {"IMFAttributes::SetUINT32", 8, "Input color range"},
                   {"IMFAttributes::SetUINT32", 9, "Input progressive"},
                   {"IMFAttributes::SetUINT64", 4, "Input size"},
                   {"IMFAttributes::SetUINT64", 5, "Input fps"},
                   {"IMFAttributes::SetUINT64", 6, "Input aspect"},
                   {"IMFSinkWriter::SetInputMediaType", 1, "Encoder input"},
                   {"IMFSinkWriter::BeginWriting", 1, "Start encoder"}},
                  true);
}

TEST(Failures, ofWritingAndFinishing) {
    expectAllTold({{"MFCreateMemoryBuffer", 2, "Frame buffer"},
                   {"IMFMediaBuffer::Lock", 2, "Lock buffer"},
                   {"IMFMediaBuffer::Unlock", 1, "Unlock buffer"},
                   {"IMFMediaBuffer::SetCurrentLength", 1, "Buffer length"},
                   {"MFCreateSample", 1, "Frame sample"},
                   {"IMFSample::AddBuffer", 1, "Sample buffer"},
                   {"IMFSample::SetSampleTime", 1, "Frame timestamp"},
                   {"IMFSample::SetSampleDuration", 1, "Frame duration"},
                   {"IMFSinkWriter::WriteSample", 1, "Encode frame"},
                   {"IMFSinkWriter::Finalize", 1, "Finalize MP4"}});
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
