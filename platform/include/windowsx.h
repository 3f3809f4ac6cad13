// Halves of a message parameter as coordinates.

#pragma once

#include <windows.h>

// Signed, because a point left of or above the window is negative.
#define GET_X_LPARAM(value) ((int)(short)LOWORD(value))
#define GET_Y_LPARAM(value) ((int)(short)HIWORD(value))
