// A monitor's picture, cropped to the recorded rectangle: DXGI Desktop Duplication with a device of
// the adapter that drives the monitor. The mouse pointer is not in the picture. Capture thread
// only.

#pragma once

#include <windows.h>
#include <d3d11.h>
#include <dxgi1_2.h>

#include <cstdint>

#include "common/capture_region.h"
#include "common/com_pointer.h"

// Closing it is destroying it: the references go last to first, crop, duplication, context, device.
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

// Throws std::runtime_error if the monitor is gone or rotated, if the region no longer lies wholly
// inside it, or if a step of the platform fails; nothing stays open then.
DesktopSource openDesktopSource(HMONITOR monitor, const CaptureRegion& region);

// One try at a new picture, converted to NV12 into `frameBuffer` (width * height * 3 / 2 bytes).
// False if there was none within the time-out; `frameBuffer` is then untouched. Throws
// std::runtime_error; a lost desktop (mode change, lock) is such a failure and is not recovered.
bool pollDesktopFrame(DesktopSource& source, std::uint32_t timeoutMilliseconds,
                      std::uint8_t* frameBuffer);
