// Every failure that the program words: brought about by a planned fault, told with its exact text,
// and gone without a trace: nothing held, no partial file, and the next recording works.

#include "tests/program/person.h"

using namespace person;

namespace {

struct Row {
    const char* operation;
    int nth;
    DWORD code;
    const char* text;
};

constexpr DWORD unexpected = 0x8000ffff;

// With the hook, the windows and the icon of an idle program.
std::map<std::string, int> idleObjects() {
    EXPECT_TRUE(desktop::waitUntil([] { return !isShown("QuorvelClipOverlay"); }));
    return desktop::openObjects();
}

void expectNothingLeft(const std::map<std::string, int>& idle) {
    // The worker's last references go a moment after its message.
    EXPECT_TRUE(desktop::waitUntil([&] { return desktop::openObjects() == idle; }));
    EXPECT_EQ(desktop::openObjects(), idle);
    for (const Path& file : filesIn(recordings()))
        EXPECT_EQ(file.string().find(".partial"), std::string::npos) << file;
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
    EXPECT_FALSE(outcome.notices.empty() || outcome.notices.back() != text)
        << (outcome.notices.empty() ? "" : outcome.notices.back());
    expectNothingLeft(idle);
}

std::string withCode(const std::string& label, DWORD code) {
    char text[160];
    std::snprintf(text, sizeof text, "%s (0x%08x)", label.c_str(), static_cast<unsigned>(code));
    return text;
}

// After a call out of sight anything may stand there: Esc ends it, and the program is idle again
// once a new sheet opens.
void returnToIdle(const std::map<std::string, int>& idle) {
    desktop::releaseButton(1);
    EXPECT_TRUE(desktop::waitUntil([] {
        pressEsc();
        pressShortcut();
        return desktop::waitUntil(sheetIsUp, 1);
    }));
    EXPECT_TRUE(desktop::waitUntil([&] {
        pressEsc();
        return !isShown("QuorvelClipOverlay") && desktop::openObjects() == idle;
    }));
}

desktop::Fault failing(const std::string& operation, int nth, DWORD code,
                       bool andAllLater = false) {
    return {desktop::Fault::Fail, operation, nth, code, andAllLater};
}

}  // namespace

TEST(Failures, beforeARecordingRuns) {
    atDesktop([] {
        Program program;
        EXPECT_TRUE(recordOneClip().clip);
        const Row rows[] = {
            {"SetWindowsHookExW", 1, 5,
             "Could not install temporary Escape hook; recording not started."},
            {"GetMonitorInfoW", 1, 0, "Monitor unavailable"},
            {"CoCreateGuid", 1, unexpected, "Recording ID (0x8000ffff)"},
            {"MoveFileExW", 1, 5, "Cannot publish completed MP4"},
        };
        for (const Row& row : rows) {
            expectTold({failing(row.operation, row.nth, row.code)}, row.text);
            EXPECT_TRUE(recordOneClip().clip);
        }
    });
}

TEST(Failures, ofTheDesktopSource) {
    atDesktop([] {
        Program program;
        EXPECT_TRUE(recordOneClip().clip);
        const Row rows[] = {
            {"CoInitializeEx", 1, 0, "COM startup"},
            {"MFStartup", 1, 0, "Media Foundation startup"},
            {"CreateDXGIFactory1", 1, 0, "DXGI factory"},
            {"IDXGIFactory1::EnumAdapters1", 1, 0, "Enumerate adapters"},
            {"IDXGIAdapter::EnumOutputs", 1, 0, "Enumerate outputs"},
            {"IDXGIOutput::GetDesc", 1, 0, "Output description"},
            {"D3D11CreateDevice", 1, 0, "D3D11 device"},
            {"QueryInterface", 1, 0, "Desktop duplication support"},
            {"IDXGIOutput1::DuplicateOutput", 1, 0,
             "Duplicate desktop (local unlocked desktop required)"},
            {"ID3D11Device::CreateTexture2D", 1, 0, "Crop texture"},
            {"IDXGIOutputDuplication::AcquireNextFrame", 1, 0,
             "Acquire desktop (display mode/lock changed)"},
            {"IDXGIOutputDuplication::AcquireNextFrame", 3, 0,
             "Acquire desktop (display mode/lock changed)"},
            {"QueryInterface", 2, 0, "Desktop texture"},
            {"ID3D11DeviceContext::Map", 1, 0, "Map crop"},
        };
        for (const Row& row : rows)
            expectTold({failing(row.operation, row.nth, unexpected)},
                       withCode(row.text, unexpected));
        EXPECT_TRUE(recordOneClip().clip);
    });
}

// The writer is opened twice, so a failure is told only if it strikes at the same step of both
// tries.
TEST(Failures, ofOpeningTheWriter) {
    atDesktop([] {
        Program program;
        EXPECT_TRUE(recordOneClip().clip);
        const Row rows[] = {
            {"MFCreateAttributes", 1, 0, "Encoder attributes"},
            {"IMFAttributes::SetUINT32", 1, 0, "Hardware preference"},
            {"IMFAttributes::SetUINT32", 2, 0, "Encoder throttle"},
            {"IMFAttributes::SetGUID", 1, 0, "MP4 container"},
            {"MFCreateSinkWriterFromURL", 1, 0, "Create MP4"},
            {"MFCreateMediaType", 1, 0, "Output type"},
            {"IMFAttributes::SetGUID", 2, 0, "Video type"},
            {"IMFAttributes::SetGUID", 3, 0, "H264"},
            {"IMFAttributes::SetUINT32", 3, 0, "Bitrate"},
            {"IMFAttributes::SetUINT32", 4, 0, "Output color matrix"},
            {"IMFAttributes::SetUINT32", 5, 0, "Output color range"},
            {"IMFAttributes::SetUINT32", 6, 0, "Progressive"},
            {"IMFAttributes::SetUINT64", 1, 0, "Output size"},
            {"IMFAttributes::SetUINT64", 2, 0, "Output fps"},
            {"IMFAttributes::SetUINT64", 3, 0, "Output aspect"},
            {"IMFSinkWriter::AddStream", 1, 0, "H264 stream"},
            {"MFCreateMediaType", 2, 0, "Input type"},
            {"IMFAttributes::SetGUID", 4, 0, "Input video"},
            {"IMFAttributes::SetGUID", 5, 0, "NV12"},
            {"IMFAttributes::SetUINT32", 7, 0, "Input color matrix"},
            {"IMFAttributes::SetUINT32", 8, 0, "Input color range"},
            {"IMFAttributes::SetUINT32", 9, 0, "Input progressive"},
            {"IMFAttributes::SetUINT64", 4, 0, "Input size"},
            {"IMFAttributes::SetUINT64", 5, 0, "Input fps"},
            {"IMFAttributes::SetUINT64", 6, 0, "Input aspect"},
            {"IMFSinkWriter::SetInputMediaType", 1, 0, "Encoder input"},
            {"IMFSinkWriter::BeginWriting", 1, 0, "Start encoder"},
        };
        for (const Row& row : rows) {
            expectTold({failing(row.operation, row.nth, unexpected),
                        failing(row.operation, 2 * row.nth, unexpected)},
                       withCode(row.text, unexpected));
        }
        // Struck once, the second try without hardware takes over and nobody hears of it.
        desktop::planFault(failing("IMFSinkWriter::BeginWriting", 1, unexpected));
        const Outcome outcome = recordOneClip();
        EXPECT_TRUE(desktop::faultStruck());
        desktop::clearFaults();
        EXPECT_TRUE(outcome.clip);
        EXPECT_EQ(outcome.notices.back(), "Copied — paste the video file.");
    });
}

TEST(Failures, ofWritingAndFinishing) {
    atDesktop([] {
        Program program;
        EXPECT_TRUE(recordOneClip().clip);
        const Row rows[] = {
            {"MFCreateMemoryBuffer", 2, 0, "Frame buffer"},
            {"IMFMediaBuffer::Lock", 2, 0, "Lock buffer"},
            {"IMFMediaBuffer::Unlock", 1, 0, "Unlock buffer"},
            {"IMFMediaBuffer::SetCurrentLength", 1, 0, "Buffer length"},
            {"MFCreateSample", 1, 0, "Frame sample"},
            {"IMFSample::AddBuffer", 1, 0, "Sample buffer"},
            {"IMFSample::SetSampleTime", 1, 0, "Frame timestamp"},
            {"IMFSample::SetSampleDuration", 1, 0, "Frame duration"},
            {"IMFSinkWriter::WriteSample", 1, 0, "Encode frame"},
            {"IMFSinkWriter::Finalize", 1, 0, "Finalize MP4"},
        };
        for (const Row& row : rows)
            expectTold({failing(row.operation, row.nth, unexpected)},
                       withCode(row.text, unexpected));
        EXPECT_TRUE(recordOneClip().clip);
    });
}

TEST(Failures, ofTheStepsAfterTheClipIsSafe) {
    atDesktop([] {
        Program program;
        EXPECT_TRUE(recordOneClip().clip);
        const auto idle = idleObjects();
        const char* const cannotCopy = "Clip saved, but file or clipboard access failed. Open "
                                       "recent clips to copy it manually.";
        const struct {
            std::vector<desktop::Fault> faults;
            const char* text;
        } rows[] = {
            {{failing("SetTimer", 1, 8)},
             "Clip saved; clipboard retry timer unavailable. Open recent clips."},
            {{failing("OpenClipboard", 1, 5, true)}, cannotCopy},
            {{failing("EmptyClipboard", 1, 5, true)}, cannotCopy},
            {{failing("SetClipboardData", 1, 5, true)}, cannotCopy},
            {{failing("GlobalAlloc", 1, 8, true)}, cannotCopy},
            {{failing("GlobalLock", 1, 8, true)}, cannotCopy},
            {{failing("MoveFileExW", 2, 5)},
             "Clip saved; retention warning: Cannot replace recording ownership ledger (Windows "
             "error 5)"},
            {{failing("GetFileAttributesW", 1, 5)},
             "Clip saved; retention warning: Refusing retention in a linked folder"},
            {{failing("DeleteFileW", 1, 32)},  // By now there are more than five.
             "Clip saved; retention warning: Could not remove an old owned clip (file may be in "
             "use)"},
            {{failing("OpenClipboard", 1, 5), failing("EmptyClipboard", 1, 5)},
             "Copied — paste the video file."},
        };
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
                  "Clip saved; retention warning: Cannot write recording ownership ledger; check "
                  "free space and folder permissions");
        std::filesystem::remove(recordings() / "completed.txt.new");
        EXPECT_EQ(recordOneClip().notices.back(), "Copied — paste the video file.");
    });
}

TEST(Failures, aStopBeforeTheFirstPicture) {
    atDesktop([] {
        Program program;
        openSheet();
        const auto before = desktop::openObjects();
        desktop::planFault({.kind = desktop::Fault::Stall, .operation = "MFCreateAttributes"});
        drag(100, 100, 420, 340);
        ASSERT_TRUE(desktop::waitUntil(frameIsUp));
        pressEsc();
        desktop::waitForBalloon("Finishing clip…");
        desktop::clearFaults();
        desktop::waitForBalloon("Recording stopped before its first frame");
        EXPECT_TRUE(filesIn(recordings()).empty());
    });
}

TEST(Failures, noPictureForFiveSeconds) {
    atDesktop([] {
        Program program;
        openSheet();
        desktop::planFault(
            failing("IDXGIOutputDuplication::AcquireNextFrame", 1, 0x887a0027, true));
        drag(100, 100, 420, 340);
        desktop::waitForBalloon("No desktop frame received");
        desktop::clearFaults();
        EXPECT_TRUE(recordOneClip().clip);
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
