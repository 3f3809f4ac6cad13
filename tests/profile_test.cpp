// Private profiles: what is found in files that people have written, and what a change leaves
// alone. Every build has to give the same.

#include <windows.h>

#include <gtest/gtest.h>

#include <regex>

#include "common/wide_text.h"
#include "tests/scratch.h"

namespace {

// Wine writes the whole file, and it takes the mark of UTF-8 for one.
constexpr bool isWine = Path::preferred_separator == '\\';

UINT read(const Path& file) {
    return GetPrivateProfileIntW(TEXT("S"), TEXT("K"), 99, file.string<WCHAR>().c_str());
}

bool write(const Path& file) {
    const WideText name = file.string<WCHAR>();
    return WritePrivateProfileStringW(TEXT("S"), TEXT("K"), TEXT("42"), name.c_str()) != 0;
}

// Without what does not outlive being written as a whole: white space, and what follows a section's
// name or a zero.
std::string essence(const std::string& text) {
    static const std::regex dropped("(\\])[^\\]\r\n]*|\\0.*|\\s");
    return std::regex_replace(text, dropped, "$1");
}

std::string inUtf16(const std::string& text) {
    std::string bytes = "\xFF\xFE";
    for (const char letter : text) bytes += {letter, '\0'};
    return bytes;
}

struct Profile : testing::Test {
    void expect(const std::string& before, UINT number, const std::string& after) {
        SCOPED_TRACE(testing::PrintToString(before.substr(0, 200)));
        // Another file each time: a platform may remember what it has read a moment ago.
        const Path file = folder.path / (std::to_string(++files) + ".ini");
        writeFile(file, before);
        EXPECT_EQ(read(file), number);
        EXPECT_TRUE(write(file));
        EXPECT_EQ(read(file), 42u);
        const std::string left = readFile(file);
        EXPECT_TRUE(isWine ? essence(left) == essence(after) : left == after)
            << left.substr(0, 200);
    }

    const ScratchFolder folder;
    int files = 0;
};

TEST_F(Profile, readsTheNumberThatAValueBeginsWith) {
    const struct {
        UINT number;
        std::vector<std::string> values;
    } rows[] = {
        {7, {"7", "+7", "007", " \t7\t ", "\v7", "\"7\"", "'7'", "\" 7 \"", "7 ; old"}},
        {7, {"7 8", "7;8", "7,8", "7.9", "7e2", "7=8", "7\"", "0o7", "0b111", "0x7", "+0x7"}},
        {0, {"seven", "B42", "- 7", "+-7", "--7", "$7", "=7", ";7", "-", "-0", "\"7", "\"7'"}},
        {0, {"0x", "0xg", "0X10", "0b2", "0o8", "'\"7\"'", "\"\"7\"\"", "4294967296", "\"", "'"}},
        {42, {"42", "42A9", "0x2a", "0x2A", "0b101010", "0o52", "4294967338", "0x10000002A"}},
        {10, {"010", "0xA"}},
        {0xFFFFFFFF, {"-1", "\"-1\"", "-0x1", "-4294967297", "4294967295", "0xFFFFFFFF"}},
        {99, {"", "  ", "\"\"", "''"}},
    };
    for (const auto& row : rows)
        for (const std::string& value : row.values)
            expect("[S]\r\nK=" + value + "\r\n", row.number, "[S]\r\nK=42\r\n");
}

TEST_F(Profile, findsOneKeyAndLeavesTheRestAlone) {
    std::string megabyte;
    while (megabyte.size() < 1'000'000) megabyte += "[O]\r\n; \xC3\xA9\n K = 1\n\n";
    const std::string zeros("\0 before \0\r\n", 12);
    const struct {
        std::string before;
        UINT number;
        std::string after;
    } rows[] = {
        // Line ends, and names in other spellings.
        {"[s]\nk=7", 7, "[s]\nk=42"},
        {"[S]\rK=7\r", 7, "[S]\rK=42\r"},
        {" [ S ] x\r\n\t K \t=  7 ; old\r\n", 7, " [ S ] x\r\n\t K \t=42\r\n"},
        {"[S]\r\nK = \t42 \r\n", 42, "[S]\r\nK = \t42 \r\n"},
        // The first section of the name, and the first key in it.
        {"[O]\nK=1\n[S]\nK=7\n[P]\nK=2", 7, "[O]\nK=1\n[S]\nK=42\n[P]\nK=2"},
        {"[S]\nK=7\nK=8\n[S]\nK=9\n", 7, "[S]\nK=42\nK=8\n[S]\nK=9\n"},
        {"[S]\r\na=1\r\n[S]\r\nK=7\r\n", 99, "[S]\r\na=1\r\nK=42\r\n[S]\r\nK=7\r\n"},
        {"[S]\nK =\nK=7\n", 99, "[S]\nK =42\nK=7\n"},
        // What only looks like them.
        {"[S]\n;K=1\nKK=1\n\"K\"=3\nK:4\n=5\nK=7", 7, "[S]\n;K=1\nKK=1\n\"K\"=3\nK:4\n=5\nK=42"},
        {"xS]\nK=1\n[S]]\nK=2\n[S]\nK=7", 7, "xS]\nK=1\n[S]]\nK=2\n[S]\nK=42"},
        {"[S\r\nK=7", 99, "[S\r\nK=7\r\n[S]\r\nK=42\r\n"},
        // What is missing comes after the last entry.
        {"", 99, "[S]\r\nK=42\r\n"},
        {"[O]\n a = 1\n\n\n", 99, "[O]\n a = 1\n\n\n[S]\r\nK=42\r\n"},
        {"[S]\n a = 1 \n; end\n\n\n[O]\rK=1\r", 99, "[S]\n a = 1 \n; end\nK=42\r\n\n\n[O]\rK=1\r"},
        // Bytes of every kind, and many.
        {"; \xC3\xA9 \xE4\n\n[S]\n\xE4=1\nK=7\n", 7, "; \xC3\xA9 \xE4\n\n[S]\n\xE4=1\nK=42\n"},
        {zeros + "[S]\nK=7\n", 7, zeros + "[S]\nK=42\n"},
        {inUtf16("[S]\r\nK=7\r\n"), 7, inUtf16("[S]\r\nK=42\r\n")},
        {"\xEF\xBB\xBF[S]\nK=7\n", isWine ? 7u : 99u,
         isWine ? "\xEF\xBB\xBF[S]\nK=42\n" : "\xEF\xBB\xBF[S]\nK=7\n[S]\r\nK=42\r\n"},
        {megabyte + "[S]\nK=7", 7, megabyte + "[S]\nK=42"},
    };
    for (const auto& row : rows) expect(row.before, row.number, row.after);
    EXPECT_EQ(read(folder.path / "missing.ini"), 99u);
}

}  // namespace
