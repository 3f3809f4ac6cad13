#include "common/wide_text.h"

WideText widenBytes(std::string_view bytes) {
    WideText wide;
    wide.reserve(bytes.size());
    // char may be unsigned, but the sign has to be extended.
    for (const char unit : bytes) wide += static_cast<WCHAR>(static_cast<signed char>(unit));
    return wide;
}

WideText decimalText(std::uint64_t number) { return widenBytes(std::to_string(number)); }
