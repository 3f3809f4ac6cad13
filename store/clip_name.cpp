#include "store/clip_name.h"

#include <windows.h>
#include <objbase.h>

#include <algorithm>
#include <cwctype>

#include "common/failure.h"

namespace {

constexpr WideView prefix = TEXT("clip-");
constexpr WideView extension = TEXT(".mp4");
constexpr std::size_t identifierLength = 36;

bool isHyphenPlace(std::size_t index) {
    return index == 8 || index == 13 || index == 18 || index == 23;
}

// Not towlower or isxdigit, which depend on the locale. Upper case must not pass.
bool isLowerHexDigit(WCHAR character) {
    return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'f');
}

bool isIdentifier(WideView text) {
    for (std::size_t index = 0; index < text.size(); ++index) {
        const bool fits = isHyphenPlace(index) ? text[index] == '-' : isLowerHexDigit(text[index]);
        if (!fits) return false;
    }
    return true;
}

}  // namespace

std::filesystem::path allocateClipPath(const std::filesystem::path& recordingsFolder) {
    GUID guid{};
    check(CoCreateGuid(&guid), "Recording ID");
    WCHAR braced[40]{};
    StringFromGUID2(guid, braced, 40);
    WideText identifier(braced + 1, identifierLength);
    std::transform(identifier.begin(), identifier.end(), identifier.begin(),
                   [](WCHAR character) { return static_cast<WCHAR>(std::towlower(character)); });
    return recordingsFolder / WideText(prefix).append(identifier).append(extension);
}

bool isValidClipName(const WideText& name) {
    return name.size() == prefix.size() + identifierLength + extension.size() &&
           name.starts_with(prefix) && name.ends_with(extension) &&
           isIdentifier(WideView(name).substr(prefix.size(), identifierLength));
}

std::filesystem::path partialPath(const std::filesystem::path& clip) {
    std::filesystem::path partial = clip;
    partial += TEXT(".partial.mp4");
    return partial;
}
