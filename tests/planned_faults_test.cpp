// The tool that the sweeps rest on, where they would pass without it: calls that cannot fail are
// not counted, and a planned end comes on its side of the effect.

#include <windows.h>

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include "platform/control.h"
#include "tests/scratch.h"

namespace {

using desktop::Fault;

struct PlannedFaults : testing::Test {
    ScratchFolder scratch;
    const Path file = scratch.path / "file";

    PlannedFaults() { writeFile(file, "content"); }
    ~PlannedFaults() override { desktop::clearFaults(); }
    BOOL remove() const { return DeleteFileW(file.u16string().c_str()); }
    bool isThere() const { return std::filesystem::exists(file); }
};

TEST_F(PlannedFaults, meetTheCallTheyAreCountedFor) {
    desktop::planFault({Fault::Fail, "", 2, ERROR_DISK_FULL});
    GetTickCount64();
    GetFileAttributesW(u"/");
    EXPECT_FALSE(desktop::faultStruck());
    EXPECT_FALSE(remove());
    EXPECT_EQ(GetLastError(), DWORD{ERROR_DISK_FULL});
    EXPECT_EQ(desktop::struckCall(), "DeleteFileW");
    EXPECT_TRUE(isThere());
    EXPECT_TRUE(remove());
}

TEST_F(PlannedFaults, endTheProcessOnEitherSideOfTheEffect) {
    for (const Fault::Kind kind : {Fault::EndBefore, Fault::EndAfter}) {
        const pid_t child = fork();
        if (child == 0) {
            desktop::planFault({kind, "DeleteFileW"});
            remove();
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_EQ(WEXITSTATUS(status), desktop::plannedEndCode);
        EXPECT_EQ(isThere(), kind == Fault::EndBefore);
    }
}

}  // namespace
