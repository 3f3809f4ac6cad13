#include "platform/core/text.h"

#include <glib.h>

namespace desktop {

std::string toUtf8(std::u16string_view text) {
    std::string result;
    while (!text.empty()) {
        const auto* const units = reinterpret_cast<const gunichar2*>(text.data());
        // The first call stops at what is no character; a lone high surrogate stops the second.
        glong valid = 0;
        g_free(g_utf16_to_utf8(units, static_cast<glong>(text.size()), &valid, nullptr, nullptr));
        gchar* const part = g_utf16_to_utf8(units, valid, &valid, nullptr, nullptr);
        result += part;
        g_free(part);
        text.remove_prefix(static_cast<std::size_t>(valid));
        if (text.empty()) break;
        result += text.front() ? std::string_view("\uFFFD") : std::string_view("\0", 1);
        text.remove_prefix(1);
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
