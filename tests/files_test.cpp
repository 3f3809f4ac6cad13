// What the file operations answer: the codes decide what the program does next.

#include <windows.h>

#include <gtest/gtest.h>

#include "common/handle.h"
#include "common/wide_text.h"
#include "tests/scratch.h"

namespace {

constexpr DWORD move = MOVEFILE_WRITE_THROUGH;
constexpr DWORD replace = MOVEFILE_WRITE_THROUGH | MOVEFILE_REPLACE_EXISTING;
constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

DWORD codeOf(BOOL result) { return result ? ERROR_SUCCESS : GetLastError(); }

struct Files : testing::Test {
    ScratchFolder scratch;

    Files() {
        for (const char* const name : {"file", "other", "open", "readonly"})
            writeFile(scratch.path / name, name);
        std::filesystem::create_directory(scratch.path / "folder");
        SetFileAttributesW(at("readonly").c_str(), FILE_ATTRIBUTE_READONLY);
    }
    ~Files() override { SetFileAttributesW(at("readonly").c_str(), FILE_ATTRIBUTE_NORMAL); }

    WideText at(const char* name) const { return (scratch.path / name).string<WCHAR>(); }
    Handle open(const char* name, DWORD access, DWORD share, DWORD flags = FILE_ATTRIBUTE_NORMAL) {
        return ownHandle(
            CreateFileW(at(name).c_str(), access, share, nullptr, OPEN_EXISTING, flags, nullptr));
    }
    DWORD openCode(const char* name, DWORD access, DWORD share,
                   DWORD flags = FILE_ATTRIBUTE_NORMAL) {
        return open(name, access, share, flags) ? ERROR_SUCCESS : GetLastError();
    }
};

TEST_F(Files, tellWhyTheyCannotBeMoved) {
    const Handle held = open("open", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE);
    const struct {
        const char *from, *to;
        DWORD flags, code;
    } rows[] = {
        {"missing", "new", move, ERROR_FILE_NOT_FOUND},
        {"nowhere/file", "new", move, ERROR_PATH_NOT_FOUND},
        {"file", "nowhere/new", move, ERROR_PATH_NOT_FOUND},
        {"file", "other", move, ERROR_ALREADY_EXISTS},
        {"file", "folder", move, ERROR_ALREADY_EXISTS},
        {"file", "folder", replace, ERROR_ACCESS_DENIED},
        {"file", "open", replace, ERROR_ACCESS_DENIED},
        {"open", "new", move, ERROR_SHARING_VIOLATION},
        {"file", "file", move, ERROR_SUCCESS},
        {"file", "new", move, ERROR_SUCCESS},
        {"new", "other", replace, ERROR_SUCCESS},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.from) + " to " + row.to);
        EXPECT_EQ(codeOf(MoveFileExW(at(row.from).c_str(), at(row.to).c_str(), row.flags)),
                  row.code);
    }
    EXPECT_EQ(readFile(scratch.path / "other"), "file");
    EXPECT_EQ(namesIn(scratch.path),
              (std::vector<std::string>{"folder", "open", "other", "readonly"}));
}

TEST_F(Files, tellWhyTheyCannotBeCopied) {
    const Handle exclusive = open("open", GENERIC_READ, 0);
    const struct {
        const char *from, *to;
        DWORD code;
    } rows[] = {
        {"missing", "new", ERROR_FILE_NOT_FOUND},
        {"nowhere/file", "new", ERROR_PATH_NOT_FOUND},
        {"file", "nowhere/new", ERROR_PATH_NOT_FOUND},
        {"file", "other", ERROR_FILE_EXISTS},
        {"file", "folder", ERROR_FILE_EXISTS},
        {"file", "file", ERROR_FILE_EXISTS},
        {"folder", "new", ERROR_ACCESS_DENIED},
        {"open", "new", ERROR_SHARING_VIOLATION},
        {"file", "new", ERROR_SUCCESS},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.from) + " to " + row.to);
        EXPECT_EQ(codeOf(CopyFileW(at(row.from).c_str(), at(row.to).c_str(), TRUE)), row.code);
    }
    EXPECT_EQ(readFile(scratch.path / "new"), "file");
    EXPECT_EQ(readFile(scratch.path / "other"), "other");
}

TEST_F(Files, tellWhyTheyCannotBeDeleted) {
    const Handle kept = open("open", GENERIC_READ, FILE_SHARE_READ);
    const Handle let = open("other", GENERIC_READ, shareAll);
    const struct {
        const char* name;
        DWORD code;
    } rows[] = {
        {"missing", ERROR_FILE_NOT_FOUND}, {"nowhere/file", ERROR_PATH_NOT_FOUND},
        {"folder", ERROR_ACCESS_DENIED},   {"readonly", ERROR_ACCESS_DENIED},
        {"open", ERROR_SHARING_VIOLATION}, {"other", ERROR_SUCCESS},
        {"file", ERROR_SUCCESS},
    };
    for (const auto& row : rows)
        EXPECT_EQ(codeOf(DeleteFileW(at(row.name).c_str())), row.code) << row.name;
}

TEST_F(Files, copyTheReadOnlyBit) {
    ASSERT_TRUE(CopyFileW(at("readonly").c_str(), at("copy").c_str(), TRUE));
    EXPECT_TRUE(GetFileAttributesW(at("copy").c_str()) & FILE_ATTRIBUTE_READONLY);
    SetFileAttributesW(at("copy").c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(openCode("copy", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ), ERROR_SUCCESS);
    EXPECT_EQ(codeOf(DeleteFileW(at("copy").c_str())), ERROR_SUCCESS);
}

// What the one opener does must be allowed by the other, both ways round.
TEST_F(Files, areSharedOnlyAsBothAllow) {
    constexpr DWORD readWrite = GENERIC_READ | GENERIC_WRITE;
    const struct {
        DWORD firstAccess, firstShare, access, share, code;
    } rows[] = {
        {GENERIC_READ, FILE_SHARE_READ, GENERIC_READ, FILE_SHARE_READ, ERROR_SUCCESS},
        {GENERIC_READ, FILE_SHARE_READ, readWrite, shareAll, ERROR_SHARING_VIOLATION},
        {readWrite, shareAll, GENERIC_READ, FILE_SHARE_READ, ERROR_SHARING_VIOLATION},
        {readWrite, shareAll, readWrite, shareAll, ERROR_SUCCESS},
        {GENERIC_READ, 0, GENERIC_READ, shareAll, ERROR_SHARING_VIOLATION},
        {GENERIC_READ, shareAll, GENERIC_READ, 0, ERROR_SHARING_VIOLATION},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        const Handle first = open("file", row.firstAccess, row.firstShare);
        ASSERT_TRUE(first);
        EXPECT_EQ(openCode("file", row.access, row.share), row.code);
    }
    EXPECT_EQ(openCode("file", readWrite, 0), ERROR_SUCCESS);  // Nothing of the above is left.
}

TEST_F(Files, openOnlyAsWhatTheyAre) {
    EXPECT_EQ(openCode("missing", GENERIC_READ, shareAll), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(openCode("nowhere/file", GENERIC_READ, shareAll), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(openCode("folder", GENERIC_READ, shareAll), ERROR_ACCESS_DENIED);
    EXPECT_EQ(openCode("folder", GENERIC_READ, shareAll, FILE_FLAG_BACKUP_SEMANTICS),
              ERROR_SUCCESS);
    const Handle reader = open("file", GENERIC_READ, shareAll);
    EXPECT_EQ(codeOf(FlushFileBuffers(reader.get())), ERROR_ACCESS_DENIED);
}

TEST_F(Files, tellTheirSizeAndTheirName) {
    Handle file = open("file", GENERIC_READ, shareAll);
    BY_HANDLE_FILE_INFORMATION information{};
    ASSERT_TRUE(GetFileInformationByHandle(file.get(), &information));
    EXPECT_EQ(information.nFileSizeLow, 4u);
    EXPECT_EQ(information.nFileSizeHigh, 0u);
    EXPECT_FALSE(information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY);

    const DWORD needed = GetFinalPathNameByHandleW(file.get(), nullptr, 0, 0);
    WideText name(needed, 0);
    EXPECT_EQ(GetFinalPathNameByHandleW(file.get(), name.data(), needed - 1, 0), needed);
    EXPECT_EQ(GetFinalPathNameByHandleW(file.get(), name.data(), needed, 0), needed - 1);
    EXPECT_EQ(name.back(), 0);
    name.pop_back();
    EXPECT_EQ(Path(name).filename(), Path("file"));
    file.reset();
    EXPECT_EQ(codeOf(DeleteFileW(name.c_str())), ERROR_SUCCESS);
    EXPECT_FALSE(std::filesystem::exists(scratch.path / "file"));
}

}  // namespace
