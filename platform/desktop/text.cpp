// Text between 16 and 8 bits.

#include "platform/desktop/text.h"

namespace desktop {

namespace {

constexpr char32_t replacement = 0xFFFD;

bool isHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool isLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

void appendUtf8(std::string& text, char32_t point) {
    const auto put = [&](char32_t byte) { text += static_cast<char>(byte); };
    if (point < 0x80) return put(point);
    if (point < 0x800) {
        put(0xC0 | point >> 6);
    } else {
        if (point < 0x10000) {
            put(0xE0 | point >> 12);
        } else {
            put(0xF0 | point >> 18);
            put(0x80 | (point >> 12 & 0x3F));
        }
        put(0x80 | (point >> 6 & 0x3F));
    }
    put(0x80 | (point & 0x3F));
}

int lengthOfSequence(unsigned char lead) {
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead < 0xE0) return 2;
    if (lead >= 0xE0 && lead < 0xF0) return 3;
    return lead >= 0xF0 && lead < 0xF5 ? 4 : 0;
}

// Decodes one character and moves `at` behind it; a broken sequence costs one byte.
char32_t nextPoint(std::string_view text, std::size_t& at) {
    const auto lead = static_cast<unsigned char>(text[at]);
    const int length = lengthOfSequence(lead);
    if (length < 2) return ++at, length == 1 ? lead : replacement;
    char32_t point = lead & (0xFFu >> (length + 1));
    for (int step = 1; step < length; ++step) {
        const std::size_t next = at + static_cast<std::size_t>(step);
        if (next >= text.size() || (text[next] & 0xC0) != 0x80) return ++at, replacement;
        point = point << 6 | (static_cast<unsigned char>(text[next]) & 0x3Fu);
    }
    at += static_cast<std::size_t>(length);
    return point;
}

}  // namespace

std::string toUtf8(std::u16string_view text) {
    std::string result;
    for (std::size_t at = 0; at < text.size(); ++at) {
        char32_t point = text[at];
        const bool pair =
            isHighSurrogate(point) && at + 1 < text.size() && isLowSurrogate(text[at + 1]);
        if (pair)
            point = 0x10000 + ((point - 0xD800) << 10) + (text[++at] - 0xDC00u);
        else if (isHighSurrogate(point) || isLowSurrogate(point))
            point = replacement;
        appendUtf8(result, point);
    }
    return result;
}

std::u16string toUtf16(std::string_view text) {
    std::u16string result;
    for (std::size_t at = 0; at < text.size();) {
        const char32_t point = nextPoint(text, at);
        if (point < 0x10000) {
            result += static_cast<char16_t>(point);
        } else {
            result += static_cast<char16_t>(0xD800 + ((point - 0x10000) >> 10));
            result += static_cast<char16_t>(0xDC00 + ((point - 0x10000) & 0x3FF));
        }
    }
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
