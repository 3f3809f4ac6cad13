#include "overlay/region_geometry.h"

#include <windowsx.h>

#include <algorithm>

POINT desktopPoint(LPARAM lparam, const RECT& monitor) {
    // Both halves are signed: with the mouse captured, the pointer can be left of or above the
    // window.
    return {monitor.left + GET_X_LPARAM(lparam), monitor.top + GET_Y_LPARAM(lparam)};
}

CaptureRegion normalisedRegion(POINT anchor, POINT pointer, const RECT& monitor) {
    const auto [minX, maxX] = std::minmax(anchor.x, pointer.x);
    const auto [minY, maxY] = std::minmax(anchor.y, pointer.y);
    CaptureRegion region;
    region.left = std::clamp(minX, monitor.left, monitor.right);
    region.top = std::clamp(minY, monitor.top, monitor.bottom);
    region.right = std::clamp(maxX, monitor.left, monitor.right);
    region.bottom = std::clamp(maxY, monitor.top, monitor.bottom);
    region.right -= (region.right - region.left) % 2;
    region.bottom -= (region.bottom - region.top) % 2;
    return region;
}

RECT regionOnSheet(const CaptureRegion& region, const RECT& monitor) {
    return {region.left - monitor.left, region.top - monitor.top, region.right - monitor.left,
            region.bottom - monitor.top};
}

RECT frameBounds(const CaptureRegion& region) {
    return {region.left - frameThickness, region.top - frameThickness,
            region.right + frameThickness, region.bottom + frameThickness};
}

RECT frameHole(const CaptureRegion& region) {
    return {frameThickness, frameThickness, region.right - region.left + frameThickness,
            region.bottom - region.top + frameThickness};
}
