// The tool that the sweeps rest on: a planned failure meets the call that it is meant for, and no
// call that cannot fail.

#include <windows.h>

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include "platform/control.h"
#include "tests/scratch.h"

namespace {

using desktop::Fault;

struct PlannedFaults : testing::Test {
    ScratchFolder scratch;
    const std::u16string file = (scratch.path / "file").u16string();

    PlannedFaults() {
        writeFile(file, "content");
        desktop::clearFaults();
    }
    ~PlannedFaults() override { desktop::clearFaults(); }
    bool isThere() const { return GetFileAttributesW(file.c_str()) != INVALID_FILE_ATTRIBUTES; }
    // How a process ends that deletes the file under that plan.
    int endOfDeletion(Fault::Kind kind) const {
        const pid_t child = fork();
        if (child == 0) {
            desktop::planFault({kind, "DeleteFileW"});
            DeleteFileW(file.c_str());
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        return WEXITSTATUS(status);
    }
};

TEST_F(PlannedFaults, meetTheCallTheyAreCountedFor) {
    desktop::planFault({Fault::Fail, "GetFileAttributesW", 2, ERROR_DISK_FULL});
    EXPECT_TRUE(isThere());
    GetTickCount64();
    EXPECT_FALSE(desktop::faultStruck());
    EXPECT_FALSE(isThere());
    EXPECT_EQ(GetLastError(), DWORD{ERROR_DISK_FULL});
    EXPECT_EQ(desktop::struckCall(), "GetFileAttributesW");
    EXPECT_TRUE(isThere());
}

TEST_F(PlannedFaults, passCallsThatCannotFail) {
    desktop::planFault({Fault::Fail, "", 1, 0, true});
    GetTickCount64();
    EXPECT_FALSE(desktop::faultStruck());
    EXPECT_FALSE(isThere());
    EXPECT_FALSE(DeleteFileW(file.c_str()));
    EXPECT_EQ(desktop::struckCall(), "GetFileAttributesW");
    desktop::clearFaults();
    EXPECT_FALSE(desktop::faultStruck());
    EXPECT_TRUE(isThere());
}

TEST_F(PlannedFaults, endTheProcessOnEitherSideOfTheEffect) {
    EXPECT_EQ(endOfDeletion(Fault::EndBefore), desktop::plannedEndCode);
    EXPECT_TRUE(isThere());
    EXPECT_EQ(endOfDeletion(Fault::EndAfter), desktop::plannedEndCode);
    EXPECT_FALSE(isThere());
}

TEST_F(PlannedFaults, holdACallUntilTheyAreCleared) {
    desktop::planFault({Fault::Stall, "DeleteFileW"});
    std::thread deletion([this] { DeleteFileW(file.c_str()); });
    EXPECT_TRUE(desktop::waitUntil([] { return desktop::faultStruck(); }));
    EXPECT_TRUE(isThere());
    desktop::clearFaults();
    deletion.join();
    EXPECT_FALSE(isThere());
}

TEST(CallLog, holdsTheCallsWithTheirArguments) {
    desktop::startCallLog();
    GetTickCount64();
    GetFileAttributesW(u"/nowhere/\u00FC");
    CoTaskMemFree(nullptr);
    std::vector<std::string> lines;
    for (const auto& call : desktop::callLog())
        lines.push_back(call.operation + "(" + call.arguments + ")");
    EXPECT_EQ(lines, (std::vector<std::string>{"GetTickCount64()",
                                               "GetFileAttributesW(\"/nowhere/\xC3\xBC\")",
                                               "CoTaskMemFree(null)"}));
}

}  // namespace
