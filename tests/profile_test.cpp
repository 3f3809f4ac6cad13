// Private profiles: what is found in a file that people have written, and what a change leaves
// alone.

#include <windows.h>

#include <gtest/gtest.h>

#include "common/handle.h"
#include "common/wide_text.h"
#include "tests/scratch.h"

namespace {

UINT read(const Path& file) {
    return GetPrivateProfileIntW(TEXT("Section"), TEXT("Key"), 99, file.string<WCHAR>().c_str());
}

DWORD write(const Path& file, const WCHAR* value) {
    const WideText name = file.string<WCHAR>();
    return WritePrivateProfileStringW(TEXT("Section"), TEXT("Key"), value, name.c_str())
               ? ERROR_SUCCESS
               : GetLastError();
}

TEST(Profile, findsTheNumber) {
    const struct {
        const char* text;
        UINT number;
    } rows[] = {
        {"[Section]\r\nKey=7\r\n", 7},
        {"[section]\nKEY=7", 7},
        {"[Section]\rKey=7\r", 7},
        {"  [ Section ] behind\r\n\t Key \t=  7  \r\n", 7},
        {"[Other]\r\nKey=1\r\n[Section]\r\nKey=7\r\n", 7},
        {"[Section]\r\nKey=7\r\nKey=8\r\n[Section]\r\nKey=9\r\n", 7},
        {"[Section]\r\n;Key=1\r\nKey=7\r\n", 7},
        {"[Section]\r\nKey=\"7\"\r\n", 7},
        {"[Section]\r\nKey='7'\r\n", 7},
        {"[Section]\r\nKey=7 ; comment\r\n", 7},
        {"[Section]\r\nKey=+7\r\n", 7},
        {"[Section]\r\nKey=-1\r\n", 0xFFFFFFFF},
        {"[Section]\r\nKey=42A9\r\n", 42},
        {"[Section]\r\nKey=B42\r\n", 0},
        {"[Section]\r\nKey=010\r\n", 10},
        {"[Section]\r\nKey=4294967297\r\n", 1},
        {"[Section]\r\nKey=\r\n", 99},
        {"[Section\r\nKey=7\r\n", 99},
        {"[Other]\r\nKey=7\r\n", 99},
        {"Key=7\r\n", 99},
        {"", 99},
    };
    const ScratchFolder folder;
    int number = 0;
    for (const auto& row : rows) {
        // A file of its own for each row: a platform may remember what it has read a moment ago.
        const Path file = folder.path / (std::to_string(++number) + ".ini");
        writeFile(file, row.text);
        EXPECT_EQ(read(file), row.number) << row.text;
    }
    EXPECT_EQ(read(folder.path / "missing.ini"), 99u);
}

// Files as they come from the writer itself; Wine writes others anew from top to bottom.
TEST(Profile, addsWhatIsMissing) {
    const struct {
        const char *before, *after;
    } rows[] = {
        {"", "[Section]\r\nKey=7\r\n"},
        {"[Other]\r\na=1\r\n", "[Other]\r\na=1\r\n[Section]\r\nKey=7\r\n"},
        {"[Other]\r\na=1", "[Other]\r\na=1\r\n[Section]\r\nKey=7\r\n"},
        {"[Section]\r\na=1\r\n[Other]\r\n", "[Section]\r\na=1\r\nKey=7\r\n[Other]\r\n"},
        {"[Section]\r\nkey=1\r\na=1\r\n", "[Section]\r\nkey=7\r\na=1\r\n"},
        {"[Section]\r\nKey=1 ; old\r\n", "[Section]\r\nKey=7\r\n"},
    };
    const ScratchFolder folder;
    int number = 0;
    for (const auto& row : rows) {
        const Path file = folder.path / (std::to_string(++number) + ".ini");
        writeFile(file, row.before);
        EXPECT_EQ(write(file, TEXT("7")), ERROR_SUCCESS);
        EXPECT_EQ(readFile(file), row.after);
    }
}

TEST(Profile, keepsTheMarkOfUtf16) {
    const auto wide = [](const std::string& text) {
        std::string bytes = "\xFF\xFE";
        for (const char letter : text) bytes += {letter, '\0'};
        return bytes;
    };
    const ScratchFolder folder;
    const Path file = folder.path / "wide.ini";
    writeFile(file, wide("[Section]\r\nKey=1\r\n"));
    EXPECT_EQ(read(file), 1u);
    EXPECT_EQ(write(file, TEXT("7")), ERROR_SUCCESS);
    EXPECT_EQ(readFile(file), wide("[Section]\r\nKey=7\r\n"));
}

TEST(Profile, tellsWhyItCannotBeWritten) {
    const ScratchFolder folder;
    const Path file = folder.path / "held.ini";
    writeFile(file, "[Section]\r\n");
    EXPECT_EQ(write(folder.path / "nowhere" / "new.ini", TEXT("7")), ERROR_PATH_NOT_FOUND);
    const Handle reader =
        ownHandle(CreateFileW(file.string<WCHAR>().c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                              OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    EXPECT_EQ(write(file, TEXT("7")), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(readFile(file), "[Section]\r\n");
}

}  // namespace
