// What the system's error numbers are called here.

#pragma once

#include <windows.h>

#include <string>

namespace kernel32 {

// The code for an errno that has nothing to do with names.
DWORD errorCode(int number);
// The code for an errno that an operation on `path` gave: a missing file and a missing folder are
// not the same.
DWORD errorCode(int number, const std::string& path);

}  // namespace kernel32
