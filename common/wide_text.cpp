// Widening without a code page.

#include "common/wide_text.h"

WideText widenBytes(std::string_view bytes) {
    WideText wide;
    wide.reserve(bytes.size());
    // char may be unsigned; the sign has to be extended all the same.
    for (const char unit : bytes) wide += static_cast<WCHAR>(static_cast<signed char>(unit));
    return wide;
}

WideText decimalText(std::uint64_t number) { return widenBytes(std::to_string(number)); }
