// A monitor's frames, cropped to the recorded rectangle: DXGI Desktop Duplication with a device of
// the adapter that drives the monitor. Frames do not contain the mouse pointer. Capture thread
// only.

#pragma once

#include <windows.h>
#include <d3d11.h>
#include <dxgi1_2.h>

#include <cstdint>

#include "common/capture_region.h"
#include "common/com_pointer.h"

// Destroying it releases the references last to first: crop, duplication, context, device.
struct DesktopSource {
    ComPointer<ID3D11Device> device;
    ComPointer<ID3D11DeviceContext> context;
    ComPointer<IDXGIOutputDuplication> duplication;
    ComPointer<ID3D11Texture2D> crop;  // staging texture of the region's size
    DXGI_OUTPUT_DESC outputDescription{};
    std::int32_t width = 0;
    std::int32_t height = 0;
    D3D11_BOX sourceBox{};  // the region in pixels of the output
};

// Throws std::runtime_error if the monitor is gone or rotated, does not contain the whole region
// any more, or a platform call fails. Nothing stays open then.
DesktopSource openDesktopSource(HMONITOR monitor, const CaptureRegion& region);

// Waits up to the time-out (milliseconds) for a new frame and converts it to NV12 in `frameBuffer`
// (width * height * 3 / 2 bytes). Returns false, with `frameBuffer` untouched, if there is none.
// Throws std::runtime_error, also if the desktop is lost (mode change, lock).
bool pollDesktopFrame(DesktopSource& source, std::uint32_t timeoutMilliseconds,
                      std::uint8_t* frameBuffer);
