// UTF-16 of the published operations, UTF-8 of everything below them.

#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>

namespace desktop {

// A lone surrogate becomes U+FFFD, a broken byte too: what is shown to the user must not throw.
std::string toUtf8(std::u16string_view text);
std::u16string toUtf16(std::string_view text);

// A path in the operations' form. Empty for one that is not UTF-8: converted, it would be the path
// of another file.
std::optional<std::u16string> publishedPath(std::string_view path);

// Letters A to Z in lower case: names of classes and registered messages compare without case.
std::u16string lowered(std::u16string_view text);

}  // namespace desktop
