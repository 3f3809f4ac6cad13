// Files as only the layer has them: links, other programs that know nothing of share modes, and
// rights that bind the superuser too.

#include <windows.h>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "common/handle.h"
#include "common/wide_text.h"
#include "tests/scratch.h"

namespace {

struct LayerFiles : testing::Test {
    ScratchFolder scratch;

    LayerFiles() {
        writeFile(scratch.path / "file", "content");
        std::filesystem::create_directory(scratch.path / "folder");
        std::filesystem::create_symlink("file", scratch.path / "link");
        std::filesystem::create_symlink("folder", scratch.path / "folder link");
        std::filesystem::create_symlink("nothing", scratch.path / "dead link");
    }
    WideText at(const char* name) const { return (scratch.path / name).string<WCHAR>(); }
    Handle open(const char* name, DWORD access, DWORD share) const {
        return ownHandle(CreateFileW(at(name).c_str(), access, share, nullptr, OPEN_EXISTING,
                                     FILE_ATTRIBUTE_NORMAL, nullptr));
    }
};

TEST_F(LayerFiles, tellALinkFromItsTarget) {
    EXPECT_EQ(GetFileAttributesW(at("link").c_str()), DWORD{FILE_ATTRIBUTE_REPARSE_POINT});
    EXPECT_EQ(GetFileAttributesW(at("dead link").c_str()), DWORD{FILE_ATTRIBUTE_REPARSE_POINT});
    EXPECT_EQ(GetFileAttributesW(at("folder link").c_str()),
              DWORD{FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY});

    const Handle opened = open("link", GENERIC_READ, FILE_SHARE_READ);
    WCHAR name[4096];
    ASSERT_NE(GetFinalPathNameByHandleW(opened.get(), name, 4096, 0), 0u);
    EXPECT_EQ(Path(name), std::filesystem::canonical(scratch.path / "file"));

    // It is the link that goes, whatever becomes of the target.
    EXPECT_TRUE(DeleteFileW(at("link").c_str()));
    EXPECT_EQ(readFile(scratch.path / "file"), "content");
    EXPECT_FALSE(DeleteFileW(at("folder link").c_str()));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
}

TEST_F(LayerFiles, doNotOpenForReadingAloneWhileAnotherProgramWrites) {
    std::ofstream other(scratch.path / "file", std::ios::app);
    EXPECT_FALSE(open("file", GENERIC_READ, FILE_SHARE_READ));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_TRUE(open("file", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE));
    other.close();
    EXPECT_TRUE(open("file", GENERIC_READ, FILE_SHARE_READ));
}

TEST_F(LayerFiles, areSharedBetweenProcesses) {
    const Handle mine = open("file", GENERIC_READ, FILE_SHARE_READ);
    ASSERT_TRUE(mine);
    const pid_t child = fork();
    if (child == 0) {
        const bool reads = static_cast<bool>(open("file", GENERIC_READ, FILE_SHARE_READ));
        const bool writes = static_cast<bool>(
            open("file", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE));
        const bool deletes = DeleteFileW(at("file").c_str());
        _exit((reads ? 1 : 0) | (writes ? 2 : 0) | (deletes ? 4 : 0));
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 1);
}

TEST_F(LayerFiles, keepTheSuperuserFromWritingToReadOnlyOnes) {
    chmod((scratch.path / "file").c_str(), 0444);
    EXPECT_FALSE(open("file", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_FALSE(WritePrivateProfileStringW(TEXT("a"), TEXT("b"), TEXT("c"), at("file").c_str()));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(readFile(scratch.path / "file"), "content");
}

}  // namespace
