// What the file operations answer: the codes decide what the program does next.

#include <windows.h>

#include <gtest/gtest.h>

#include "common/handle.h"
#include "common/wide_text.h"
#include "tests/scratch.h"

namespace {

constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

DWORD codeOf(BOOL result) { return result ? ERROR_SUCCESS : GetLastError(); }

struct Files : testing::Test {
    ScratchFolder scratch;

    Files() {
        for (const char* const name : {"file", "other", "held", "shared", "readonly"})
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

TEST_F(Files, tellWhyTheyCannotBeMovedCopiedOrDeleted) {
    enum Operation { Move, Replace, Copy, Delete };
    const struct {
        Operation operation;
        const char *from, *to;
        DWORD code;
    } rows[] = {
        {Move, "missing", "new", ERROR_FILE_NOT_FOUND},
        {Move, "nowhere/file", "new", ERROR_PATH_NOT_FOUND},
        {Move, "file", "nowhere/new", ERROR_PATH_NOT_FOUND},
        {Move, "file", "other", ERROR_ALREADY_EXISTS},
        {Move, "file", "folder", ERROR_ALREADY_EXISTS},
        {Move, "held", "new", ERROR_SHARING_VIOLATION},
        {Move, "file", "file", ERROR_SUCCESS},
        {Replace, "file", "folder", ERROR_ACCESS_DENIED},
        {Replace, "file", "held", ERROR_ACCESS_DENIED},
        {Copy, "missing", "new", ERROR_FILE_NOT_FOUND},
        {Copy, "nowhere/file", "new", ERROR_PATH_NOT_FOUND},
        {Copy, "file", "nowhere/new", ERROR_PATH_NOT_FOUND},
        {Copy, "file", "other", ERROR_FILE_EXISTS},
        {Copy, "file", "folder", ERROR_FILE_EXISTS},
        {Copy, "file", "file", ERROR_FILE_EXISTS},
        {Copy, "folder", "new", ERROR_ACCESS_DENIED},
        {Copy, "held", "new", ERROR_SHARING_VIOLATION},
        {Copy, "readonly", "copy", ERROR_SUCCESS},
        {Delete, "missing", "", ERROR_FILE_NOT_FOUND},
        {Delete, "nowhere/file", "", ERROR_PATH_NOT_FOUND},
        {Delete, "folder", "", ERROR_ACCESS_DENIED},
        {Delete, "copy", "", ERROR_ACCESS_DENIED},  // read-only as well
        {Delete, "held", "", ERROR_SHARING_VIOLATION},
        {Delete, "shared", "", ERROR_SUCCESS},
        {Move, "file", "new", ERROR_SUCCESS},
        {Replace, "new", "other", ERROR_SUCCESS},
    };
    const Handle held = open("held", GENERIC_READ, 0);
    Handle shared = open("shared", GENERIC_READ, shareAll);
    for (const auto& [operation, from, to, code] : rows) {
        SCOPED_TRACE(testing::Message() << operation << " " << from << " " << to);
        const WideText source = at(from), target = at(to);
        const DWORD flags =
            MOVEFILE_WRITE_THROUGH | (operation == Replace ? DWORD{MOVEFILE_REPLACE_EXISTING} : 0);
        EXPECT_EQ(codeOf(operation == Delete ? DeleteFileW(source.c_str())
                         : operation == Copy ? CopyFileW(source.c_str(), target.c_str(), TRUE)
                                             : MoveFileExW(source.c_str(), target.c_str(), flags)),
                  code);
    }
    shared.reset();
    SetFileAttributesW(at("copy").c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(codeOf(DeleteFileW(at("copy").c_str())), ERROR_SUCCESS);
    EXPECT_EQ(readFile(scratch.path / "other"), "file");
    EXPECT_EQ(namesIn(scratch.path),
              (std::vector<std::string>{"folder", "held", "other", "readonly"}));
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

}  // namespace
