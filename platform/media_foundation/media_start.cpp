// Start and end of the media services.

#include "platform/media_foundation/media_start.h"

#include <mfapi.h>

extern "C" {
#include <libavutil/log.h>
}

#include <atomic>

#include "platform/core/call.h"
#include "platform/core/objects.h"

namespace {

std::atomic<int> starts = 0;
std::atomic<int> sinkWriters = 0;
std::atomic<bool> loss = false;

}  // namespace

namespace media {

bool isStarted() { return starts > 0; }
void sinkWriterOpened() { ++sinkWriters; }
void sinkWriterClosed() { --sinkWriters; }
void noteLoss() { loss = true; }
bool takeLoss() { return loss.exchange(false); }

}  // namespace media

HRESULT MFStartup(ULONG version, DWORD flags) {
    desktop::Call call("MFStartup", version, flags);
    if (call.struck()) return call.result(E_FAIL);
    if (version != MF_VERSION) desktop::refuse("MFStartup", "version", version);
    if (flags != MFSTARTUP_FULL) desktop::refuse("MFStartup", "flags", flags);
    av_log_set_level(
        AV_LOG_ERROR);  // The encoder would tell the standard error stream about every clip.
    ++starts;
    desktop::opened(desktop::Object::MediaStart);
    return S_OK;
}

// A planned failure is reported, but the start is given back all the same: nobody could give it
// back any more.
HRESULT MFShutdown() {
    desktop::Call call("MFShutdown");
    if (starts == 0) desktop::refuse("MFShutdown", "number of starts", 0);
    if (--starts == 0 && sinkWriters > 0)
        desktop::refuse("MFShutdown", "sink writers that still exist", sinkWriters);
    desktop::closed(desktop::Object::MediaStart);
    return S_OK;
}
