// The version 1.0 part; the program uses nothing below 1.2.

#pragma once

#include <dxgi1_2.h>
