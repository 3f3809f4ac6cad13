#include "common/failure.h"

#include <cstdio>
#include <stdexcept>

std::string formatHresult(const char* label, HRESULT code) {
    char text[160];
    // Through the unsigned 32-bit form, it is eight digits in every build: a long can have 64 bits.
    const unsigned long digits = static_cast<std::uint32_t>(code);
    std::snprintf(text, sizeof text, "%s (0x%08lx)", label, digits);
    return text;
}

void check(HRESULT code, const char* label) {
    if (code < 0) throw std::runtime_error(formatHresult(label, code));
}

WideText exceptionText(const std::exception& exception) { return widenBytes(exception.what()); }
