// The duplication of an output: its frames, one at a time.
//
// A frame is only a promise that its image can be read until the release. Nothing is copied before
// the program requests a part of it (device.cpp).

#include <atomic>

#include "platform/dxgi/objects.h"

namespace dxgi {

namespace {

std::atomic<std::uintptr_t> duplicated = 0;  // The host shows one monitor at a time.

struct FrameResource
    : com::ComObject<FrameResource, IDXGIResource, IID_IDXGIObject, IID_IDXGIResource> {
    explicit FrameResource(const std::shared_ptr<Frames>& source) : frames(source) {}

    HRESULT QueryInterface(REFIID id, void** object) {
        if (!(id == IID_ID3D11Texture2D)) return ComObject::QueryInterface(id, object);
        desktop::Call call("QueryInterface", id);
        *object = nullptr;
        if (call.struck()) return call.fail(E_NOINTERFACE);
        *object = (new Texture(frames))->published();
        return S_OK;
    }

    const std::shared_ptr<Frames> frames;
};

struct Duplication : com::ComObject<Duplication, IDXGIOutputDuplication, IID_IDXGIObject,
                                    IID_IDXGIOutputDuplication> {
    explicit Duplication(const RECT& bounds) { frames->bounds = bounds; }
    ~Duplication() {
        if (frames->isHeld) desktop::closed("DesktopFrame");
        frames->isHeld = false;
        host::current().closePictures();
        duplicated = 0;
    }

    HRESULT AcquireNextFrame(UINT milliseconds, DXGI_OUTDUPL_FRAME_INFO* information,
                             IDXGIResource** resource) {
        desktop::Call call("IDXGIOutputDuplication::AcquireNextFrame", milliseconds);
        *information = {};
        *resource = nullptr;
        if (call.struck()) return call.fail(DXGI_ERROR_ACCESS_LOST);
        if (frames->isHeld) return DXGI_ERROR_INVALID_CALL;
        if (frames->isLost) return DXGI_ERROR_ACCESS_LOST;
        const host::PictureState state = host::current().waitForPicture(milliseconds);
        if (state == host::PictureState::Unchanged) return DXGI_ERROR_WAIT_TIMEOUT;
        if (state == host::PictureState::Lost) {
            frames->isLost = true;
            return DXGI_ERROR_ACCESS_LOST;
        }
        frames->isHeld = true;
        ++frames->last;
        desktop::opened("DesktopFrame");
        if (state == host::PictureState::PointerMoved) {
            information->LastMouseUpdateTime.QuadPart = frames->last;
        } else {
            frames->image = frames->last;
            information->LastPresentTime.QuadPart = frames->last;
            information->AccumulatedFrames = 1;
        }
        *resource = (new FrameResource(frames))->published();
        return S_OK;
    }
    // A planned failure releases the frame too, as the loss of the desktop does.
    HRESULT ReleaseFrame() {
        desktop::Call call("IDXGIOutputDuplication::ReleaseFrame");
        if (!frames->isHeld) return DXGI_ERROR_INVALID_CALL;
        frames->isHeld = false;
        desktop::closed("DesktopFrame");
        if (call.struck()) return call.fail(DXGI_ERROR_ACCESS_LOST);
        return S_OK;
    }

    static void fill(com::Table& table) {
        table.set<&IDXGIOutputDuplication::AcquireNextFrame, &Duplication::AcquireNextFrame>();
        table.set<&IDXGIOutputDuplication::ReleaseFrame, &Duplication::ReleaseFrame>();
    }

    const std::shared_ptr<Frames> frames = std::make_shared<Frames>();
};

}  // namespace

Texture::Texture(const std::shared_ptr<Frames>& source) : frames(source), frame(source->last) {
    description.Width = static_cast<UINT>(source->bounds.right - source->bounds.left);
    description.Height = static_cast<UINT>(source->bounds.bottom - source->bounds.top);
}

HRESULT openDuplication(const host::Monitor& monitor, IDXGIOutputDuplication** duplication) {
    std::uintptr_t before = 0;
    if (!duplicated.compare_exchange_strong(before, monitor.id)) {
        if (before == monitor.id) return E_INVALIDARG;
        desktop::refuse("IDXGIOutput1::DuplicateOutput", "second output at a time", 2);
    }
    if (!host::current().openPictures(monitor.id)) {
        duplicated = 0;
        return E_ACCESSDENIED;
    }
    *duplication = (new Duplication(monitor.bounds))->published();
    return S_OK;
}

}  // namespace dxgi
