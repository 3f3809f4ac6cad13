// Texts of failures. Every step has its own label, so the text leads to the line.

#pragma once

#include <windows.h>

#include <exception>
#include <string>

#include "common/wide_text.h"

// Returns label and code in the form "label (0x8000ffff)", cut to 159 characters. The label is
// plain ASCII.
std::string formatHresult(const char* label, HRESULT code);

// Throws std::runtime_error with formatHresult(label, code) if `code` is negative.
void check(HRESULT code, const char* label);

// The text of a caught exception, widened byte by byte. This program throws plain ASCII.
WideText exceptionText(const std::exception& exception);
