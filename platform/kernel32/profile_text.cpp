// Finding and changing one value in a profile's text.

#include "platform/kernel32/profile_text.h"

#include <algorithm>

#include "platform/desktop/text.h"

namespace kernel32 {

namespace {

using Text = std::u16string_view;

constexpr Text lineEnd = u"\r\n";
constexpr Text blanks = u" \t\v\f\x1A";  // The last one ended files of old.

Text trimmed(Text text) {
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == Text::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool isSame(Text one, Text other) { return desktop::lowered(one) == desktop::lowered(other); }

// CR LF, a lone LF and a lone CR all end a line.
struct Line {
    std::size_t begin, end, next;  // without its end; `next` is behind it
};

Line lineAt(Text text, std::size_t begin) {
    const std::size_t end = std::min(text.find_first_of(u"\r\n", begin), text.size());
    const bool isPair = text.substr(end, 2) == lineEnd;
    return {begin, end, std::min(end + (isPair ? 2 : 1), text.size())};
}

// The name of the section that the line opens. It ends at the last bracket.
std::optional<Text> header(Text line) {
    const Text content = trimmed(line);
    const std::size_t end = content.rfind(u']');
    if (!content.starts_with(u'[') || end == Text::npos) return std::nullopt;
    return trimmed(content.substr(1, end - 1));
}

// What a search for a key has found; positions in the text.
struct Place {
    bool hasSection = false;
    std::size_t sectionEnd = 0;  // behind the section's last line that is not blank
    bool hasKey = false;
    bool hasEquals = false;
    std::size_t valueBegin = 0, valueEnd = 0;  // everything behind the equals sign or the bare key
};

void lookAtLine(Place& place, Text text, const Line& line, Text key) {
    const Text content = text.substr(line.begin, line.end - line.begin);
    if (trimmed(content).empty()) return;
    place.sectionEnd = line.next;
    const std::size_t keyEnd = std::min(content.find(u'='), content.size());
    if (place.hasKey || !isSame(trimmed(content.substr(0, keyEnd)), key)) return;
    place.hasKey = true;
    place.hasEquals = keyEnd < content.size();
    place.valueBegin = line.begin + keyEnd + (place.hasEquals ? 1 : 0);
    place.valueEnd = line.end;
}

Place find(Text text, Text section, Text key) {
    Place place;
    for (Line line = lineAt(text, 0); line.begin < text.size(); line = lineAt(text, line.next)) {
        if (const auto name = header(text.substr(line.begin, line.end - line.begin))) {
            if (place.hasSection) break;
            place.hasSection = isSame(*name, section);
            place.sectionEnd = line.next;
        } else if (place.hasSection) {
            lookAtLine(place, text, line, key);
        }
    }
    return place;
}

template <typename... Parts>
std::u16string joined(Parts... parts) {
    std::u16string text;
    ((text += parts), ...);
    return text;
}

bool endsLine(Text text) { return text.empty() || text.back() == u'\n' || text.back() == u'\r'; }

std::u16string withLines(Text text, std::size_t position, Text lines) {
    const Text before = text.substr(0, position);
    return joined(before, endsLine(before) ? Text() : lineEnd, lines, text.substr(position));
}

}  // namespace

std::optional<std::u16string> profileValue(Text text, Text section, Text key) {
    const Place place = find(text, section, key);
    if (!place.hasKey) return std::nullopt;
    Text value = trimmed(text.substr(place.valueBegin, place.valueEnd - place.valueBegin));
    const bool isQuoted = value.size() >= 2 && value.front() == value.back() &&
                          (value.front() == u'"' || value.front() == u'\'');
    if (isQuoted) value = value.substr(1, value.size() - 2);
    return std::u16string(value);
}

std::u16string withProfileValue(Text text, Text section, Text key, Text value) {
    const Place place = find(text, section, key);
    const std::u16string entry = joined(key, u"=", value, lineEnd);
    if (!place.hasSection)
        return withLines(text, text.size(), joined(u"[", section, u"]", lineEnd, entry));
    if (!place.hasKey) return withLines(text, place.sectionEnd, entry);
    std::u16string changed(text);
    const std::size_t length = place.valueEnd - place.valueBegin;
    if (!place.hasEquals || trimmed(text.substr(place.valueBegin, length)) != value)
        changed.replace(place.valueBegin, length, joined(place.hasEquals ? u"" : u"=", value));
    return changed;
}

unsigned profileNumber(Text value) {
    value = trimmed(value);  // The quotes may have stood around blanks.
    const bool isNegative = value.starts_with(u'-');
    if (isNegative || value.starts_with(u'+')) value.remove_prefix(1);
    unsigned base = 10;
    if (value.starts_with(u"0x")) base = 16;
    if (value.starts_with(u"0o")) base = 8;
    if (value.starts_with(u"0b")) base = 2;
    if (base != 10) value.remove_prefix(2);
    unsigned number = 0;
    for (const char16_t letter : value) {
        const Text digits = u"0123456789abcdef";
        const std::size_t digit = digits.find(desktop::lowered({&letter, 1}).front());
        if (digit >= base) break;
        number = number * base + static_cast<unsigned>(digit);
    }
    return isNegative ? 0 - number : number;
}

}  // namespace kernel32
