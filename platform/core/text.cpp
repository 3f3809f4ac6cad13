#include "platform/core/text.h"

#include <glib.h>

namespace desktop {

std::string toUtf8(std::u16string_view text) {
    std::string result;
    for (std::size_t at = 0; at < text.size(); ++at) {
        gunichar letter = text[at];
        const bool isPair =
            letter >> 10 == 0x36 && at + 1 < text.size() && text[at + 1] >> 10 == 0x37;
        if (isPair) letter = 0x10000 + ((letter & 0x3FF) << 10) + (text[++at] & 0x3FF);
        if (letter >> 11 == 0x1B) letter = 0xFFFD;
        char bytes[6];
        result.append(bytes, static_cast<std::size_t>(g_unichar_to_utf8(letter, bytes)));
    }
    return result;
}

std::u16string toUtf16(std::string_view text) {
    gchar* const valid = g_utf8_make_valid(text.data(), static_cast<gssize>(text.size()));
    glong length = 0;
    gunichar2* const units = g_utf8_to_utf16(valid, -1, nullptr, &length, nullptr);
    std::u16string result(units, units + length);
    g_free(units);
    g_free(valid);
    return result;
}

std::optional<std::u16string> publishedPath(std::string_view path) {
    std::u16string text = toUtf16(path);
    return toUtf8(text) == path ? std::optional(std::move(text)) : std::nullopt;
}

std::u16string lowered(std::u16string_view text) {
    std::u16string result(text);
    for (char16_t& unit : result)
        if (unit >= u'A' && unit <= u'Z') unit = static_cast<char16_t>(unit + 32);
    return result;
}

}  // namespace desktop
