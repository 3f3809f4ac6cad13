// How a failure is worded: each step has a label of its own, so that the text leads to the line.

#pragma once

#include <windows.h>

#include <exception>
#include <string>

#include "common/wide_text.h"

// Label and code in the form "label (0x8000ffff)", cut to 159 characters. The label is plain ASCII.
std::string formatHresult(const char* label, HRESULT code);

// Throws std::runtime_error with formatHresult(label, code) if `code` is negative.
void check(HRESULT code, const char* label);

// The words of a caught exception, widened byte by byte: what is thrown here is plain ASCII.
WideText exceptionText(const std::exception& exception);
