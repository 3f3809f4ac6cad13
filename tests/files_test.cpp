// What the file operations answer: the codes decide what the program does next.

#include <windows.h>

#include <gtest/gtest.h>

#include "common/wide_text.h"
#include "tests/scratch.h"

namespace {

constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr DWORD readWrite = GENERIC_READ | GENERIC_WRITE;

DWORD codeOf(bool succeeded) { return succeeded ? ERROR_SUCCESS : GetLastError(); }

TEST(Files, tellWhyTheyCannotBeOpenedMovedCopiedOrDeleted) {
    enum Operation { Read, Write, Move, Replace, Copy, Delete };
    const struct {
        Operation operation;
        const char *from, *to;
        DWORD code;
    } rows[] = {
        {Read, "missing", "", ERROR_FILE_NOT_FOUND},
        {Read, "nowhere/file", "", ERROR_PATH_NOT_FOUND},
        {Read, "folder", "", ERROR_ACCESS_DENIED},
        {Read, "read-only", "", ERROR_SUCCESS},
        {Read, "held", "", ERROR_SHARING_VIOLATION},
        {Read, "written", "", ERROR_SHARING_VIOLATION},
        {Write, "shared", "", ERROR_SUCCESS},
        {Write, "written", "", ERROR_SHARING_VIOLATION},
        {Move, "missing", "new", ERROR_FILE_NOT_FOUND},
        {Move, "file", "nowhere/new", ERROR_PATH_NOT_FOUND},
        {Move, "file", "other", ERROR_ALREADY_EXISTS},
        {Move, "held", "new", ERROR_SHARING_VIOLATION},
        {Move, "file", "file", ERROR_SUCCESS},
        {Replace, "file", "folder", ERROR_ACCESS_DENIED},
        {Replace, "file", "held", ERROR_ACCESS_DENIED},
        {Copy, "file", "other", ERROR_FILE_EXISTS},
        {Copy, "folder", "new", ERROR_ACCESS_DENIED},
        {Copy, "held", "new", ERROR_SHARING_VIOLATION},
        {Copy, "read-only", "copy", ERROR_SUCCESS},
        {Delete, "missing", "", ERROR_FILE_NOT_FOUND},
        {Delete, "folder", "", ERROR_ACCESS_DENIED},
        {Delete, "copy", "", ERROR_ACCESS_DENIED},  // read-only as well
        {Delete, "held", "", ERROR_SHARING_VIOLATION},
        {Delete, "shared", "", ERROR_SUCCESS},
        {Move, "file", "new", ERROR_SUCCESS},
        {Replace, "new", "other", ERROR_SUCCESS},
    };
    const ScratchFolder folder;
    const auto at = [&](const char* name) { return (folder.path / name).string<WCHAR>(); };
    const auto open = [&](const char* name, DWORD access, DWORD share) {
        return ownHandle(CreateFileW(at(name).c_str(), access, share, nullptr, OPEN_EXISTING,
                                     FILE_ATTRIBUTE_NORMAL, nullptr));
    };
    std::filesystem::create_directory(folder.path / "folder");
    for (const char* const name : {"file", "other", "held", "shared", "written", "read-only"})
        writeFile(folder.path / name, name);
    SetFileAttributesW(at("read-only").c_str(), FILE_ATTRIBUTE_READONLY);
    const Handle held = open("held", GENERIC_READ, 0);
    const Handle shared = open("shared", GENERIC_READ, shareAll);
    const Handle written = open("written", readWrite, shareAll);
    EXPECT_FALSE(FlushFileBuffers(shared.get()));
    EXPECT_TRUE(FlushFileBuffers(written.get()));
    for (const auto& [operation, from, to, code] : rows) {
        SCOPED_TRACE(testing::Message() << operation << " " << from << " " << to);
        const WideText source = at(from), target = at(to);
        const DWORD flags =
            MOVEFILE_WRITE_THROUGH | (operation == Replace ? DWORD{MOVEFILE_REPLACE_EXISTING} : 0);
        EXPECT_EQ(codeOf(operation == Read    ? open(from, GENERIC_READ, FILE_SHARE_READ) != nullptr
                         : operation == Write ? open(from, readWrite, FILE_SHARE_READ) != nullptr
                         : operation == Delete ? DeleteFileW(source.c_str())
                         : operation == Copy   ? CopyFileW(source.c_str(), target.c_str(), TRUE)
                                             : MoveFileExW(source.c_str(), target.c_str(), flags)),
                  code);
    }
    EXPECT_EQ(readFile(folder.path / "other"), "file");
    for (const char* const name : {"copy", "read-only"})
        SetFileAttributesW(at(name).c_str(), FILE_ATTRIBUTE_NORMAL);
}

}  // namespace
