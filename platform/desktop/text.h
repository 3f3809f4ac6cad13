// UTF-16 of the published operations, UTF-8 of everything behind them.

#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace desktop {

// A lone surrogate becomes U+FFFD, a broken byte too: what is shown to a person must not throw.
std::string toUtf8(std::u16string_view text);
std::u16string toUtf16(std::string_view text);

// Letters A to Z in lower case: names of classes and registered messages compare without case.
std::u16string lowered(std::u16string_view text);

}  // namespace desktop
