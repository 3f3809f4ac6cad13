// Every failure that ends a recording or the start, with its exact text, and gone without a trace;
// and what no recording of the whole program meets at will.

#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include "app/application.h"
#include "app/recording_job.h"
#include "common/messages.h"
#include "tests/capture_road.h"
#include "tests/clip_reader.h"
#include "tests/scenarios/native.h"

using namespace user;
using desktop::Fault;

static thread_local bool isHeldUp = false;  // by more than a slot after each reading of the clock

// Stands in for the library's.
extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
    const long result = syscall(SYS_clock_gettime, clock, time);
    if (isHeldUp) usleep(34'000);
    return static_cast<int>(result);
}

namespace {

// The job's thread alone, stopped after a few samples. What it says: empty for a whole clip.
std::string recordOneClip(bool stopped = false) {
    std::filesystem::remove_all(recordings());
    std::filesystem::create_directories(recordings());
    stopFlag = stopped;
    desktop::startCallLog();
    const std::jthread user([] {
        desktop::waitUntil([] { return stopFlag || writtenSamples() > 2; });
        stopFlag = true;
    });
    recordingJob({300, 310, 502, 464});
    stopFlag = true;
    desktop::clearFaults();
    MSG message{};
    EXPECT_TRUE(PeekMessageW(&message, trayWindow, WM_APP_RECORDING_DONE, WM_APP_RECORDING_DONE,
                             PM_REMOVE));
    const std::unique_ptr<RecordingResult> result(
        reinterpret_cast<RecordingResult*>(message.lParam));
    EXPECT_EQ(clips().size(), result->error.empty() ? 1u : 0u);
    for (const std::string& name : clips()) EXPECT_EQ(name.find(".partial"), std::string::npos);
    return Path(result->error + result->warning).string();
}

void atJob(const std::function<void()>& body) {
    atDesktop([&] {
        useHost();
        SetProcessDpiAwarenessContext(DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE_V2);
        desktop::setMonitors({{{-1920, 0, 0, 1080}}, {{0, 0, 1920, 1080}}});
        targetMonitor = MonitorFromPoint({}, MONITOR_DEFAULTTONEAREST);
        recordingsFolder = recordings();
        trayWindow = makeWindow(u"receiver");
        body();
    });
}

// With a failing call, and the first try to open the writer failing too. A "*" stands for its code.
std::string textOf(const std::string& operation, int nth) {
    static const auto idle = desktop::openObjects();
    desktop::planFault({Fault::Fail, "MFCreateAttributes", 1});
    desktop::planFault({Fault::Fail, operation, nth, 0x8000ffff});
    const std::string text = recordOneClip();
    EXPECT_EQ(desktop::openObjects(), idle);
    const std::size_t code = text.find(" (0x8000ffff)");
    return code == std::string::npos ? text : text.substr(0, code) + '*';
}

}  // namespace

TEST(Failures, ofEveryCallUpToTheFirstSample) {
    atJob([] {
        std::string told;
        for (int call = 1; call < 200 && !told.ends_with("Encode frame*\n"); ++call) {
            const std::string line = textOf("", call) + '\n';
            if (line != "\n" && told.find(line) == std::string::npos) told += line;
        }
        EXPECT_EQ(told, road::lines(R"-(
Recording ID* | COM startup* | Media Foundation startup* | DXGI factory* | Enumerate adapters*
Enumerate outputs* | Output description* | D3D11 device* | Desktop duplication support*
Duplicate desktop (local unlocked desktop required)* | Crop texture* | Encoder attributes*
Hardware preference* | Encoder throttle* | MP4 container* | Create MP4* | Output type*
Video type* | H264* | Bitrate* | Output color matrix* | Output color range* | Progressive*
Output size* | Output fps* | Output aspect* | H264 stream* | Input type* | Input video* | NV12*
Input color matrix* | Input color range* | Input progressive* | Input size* | Input fps*
Input aspect* | Encoder input* | Start encoder* | Acquire desktop (display mode/lock changed)*
Desktop texture* | Map crop* | Frame buffer* | Lock buffer* | Unlock buffer* | Buffer length*
Frame sample* | Sample buffer* | Frame timestamp* | Frame duration* | Encode frame*
)-"));
        EXPECT_EQ(textOf("IMFSinkWriter::Finalize", 1), "Finalize MP4*");
        EXPECT_EQ(textOf("MoveFileExW", 1), "Cannot publish completed MP4");
        EXPECT_EQ(textOf("GetFileAttributesW", 1), "Refusing retention in a linked folder");
    });
}

TEST(Failures, ofTheFirstFrame) {
    atJob([] {
        EXPECT_EQ(recordOneClip(true), "Recording stopped before its first frame");
        desktop::planFault(
            {Fault::Fail, "IDXGIOutputDuplication::AcquireNextFrame", 1, 0x887a0027, true});
        EXPECT_EQ(recordOneClip(), "No desktop frame received");
        const std::vector<desktop::LoggedCall> log = desktop::callLog();
        EXPECT_GT(log.back().time - log.front().time, 3'000'000'000) << "of the five seconds";
        const std::string changed = "Monitor layout changed; select again";
        const std::pair<desktop::MonitorSetup, std::string> rows[] = {
            {{{300, 310, 502, 464}}, ""},
            {{{301, 310, 502, 464}}, changed},
            {{{300, 311, 502, 464}}, changed},
            {{{300, 310, 501, 464}}, changed},
            {{{300, 310, 502, 463}}, changed},
            {{{0, 0, 1080, 1920}, 2}, "Rotated monitors are not supported in this version"},
        };
        for (const auto& [setup, words] : rows) {
            desktop::changeMonitor(1, setup);
            EXPECT_EQ(recordOneClip(), words) << setup.bounds.left << ' ' << setup.bounds.right;
        }
        desktop::setMonitors({{{5000, 0, 6000, 1000}}});
        EXPECT_EQ(recordOneClip(), "Selected monitor disconnected");
    });
}

// The program takes a frame of the pointer alone for an image: black as the first frame.
TEST(Failures, areNotALateThreadAndAMovedPointer) {
    atJob([] {
        desktop::addPointerFrames(1);
        isHeldUp = true;
        EXPECT_EQ(recordOneClip(), "");
        isHeldUp = false;
        EXPECT_EQ(callsOf("IMFSample::SetSampleTime").front(), "0");
        const Path clip = recordings() / clips().at(0);
        std::vector<int> shown;
        forEachPicture(clip, readClip(clip),
                       [&](const ClipPicture& picture) { shown.push_back(picture.luma(100, 70)); });
        EXPECT_LT(shown.front(), 20);
        EXPECT_GT(shown.back(), 70);
    });
}

TEST(Failures, ofTheStart) {
    const std::tuple<const char*, int, const char*> rows[] = {
        {"CreateMutexW", 1,
         "Quorvel Clip|Cannot check for an existing Quorvel Clip instance. No settings were "
         "changed."},
        {"CoInitializeEx", 1, "Quorvel Desk Clip|UI COM startup (0x8000ffff)"},
        {"SHGetKnownFolderPath", 1, "Quorvel Desk Clip|LocalAppData (0x8000ffff)"},
        {"RegisterClassW", 1, "Quorvel Desk Clip|Tray class failed"},
        {"CreateWindowExW", 1, "Quorvel Desk Clip|Tray window failed"},
        {"RegisterClassW", 2, "Quorvel Desk Clip|Overlay class registration failed"},
        {"CreateWindowExW", 2, "Quorvel Desk Clip|Overlay creation failed"},
        {"Shell_NotifyIconW", 1, "Quorvel Desk Clip|Cannot add tray icon"},
    };
    for (const auto& [operation, nth, shown] : rows)
        atDesktop([&] {
            desktop::planFault({Fault::Fail, operation, nth, 0x8000ffff});
            EXPECT_EQ(runToItsEnd(), "1|" + std::string(shown));
            EXPECT_TRUE(desktop::openObjects().empty());
            EXPECT_EQ(trayTip(), "");
        });
}
