// Painting and regions: what gdi32 offers.

#pragma once

#include "layer/types.h"

#define RGB(red, green, blue)                                                                      \
    ((COLORREF)((BYTE)(red) | ((WORD)(BYTE)(green) << 8) | ((DWORD)(BYTE)(blue) << 16)))
#define NULLREGION 1
#define SIMPLEREGION 2
#define COMPLEXREGION 3
#define RGN_DIFF 4
#define TRANSPARENT 1
#define OPAQUE 2
#define WHITE_BRUSH 0

HRGN CreateRectRgn(int left, int top, int right, int bottom);
int CombineRgn(HRGN target, HRGN first, HRGN second, int mode);
HBRUSH CreateSolidBrush(COLORREF color);
HGDIOBJ GetStockObject(int object);
BOOL DeleteObject(HGDIOBJ object);
int SetBkMode(HDC context, int mode);
COLORREF SetTextColor(HDC context, COLORREF color);
