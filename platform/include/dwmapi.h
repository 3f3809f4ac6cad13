// The desktop's compositor.

#pragma once

#include <windows.h>

HRESULT DwmFlush();
