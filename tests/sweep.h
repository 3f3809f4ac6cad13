// What the tests of failing calls and of a full disk share.

#pragma once

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

#include "platform/control.h"
#include "tests/scratch.h"

// Thousands of writes through to the disk cost nothing here.
inline const Path memory = "/dev/shm";

// While it lives no file grows beyond so many bytes.
struct FullDisk {
    explicit FullDisk(rlim_t space = 0) {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit limit{space, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk() { setrlimit(RLIMIT_FSIZE, &before); }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

    rlimit before{};
};

// Runs the action with a planned failure. The operation that failed; empty if none came to it.
template <typename Action>
std::string failing(const desktop::Fault& fault, Action action) {
    desktop::planFault(fault);
    action();
    const std::string operation = desktop::struckCall();
    desktop::clearFaults();
    return operation;
}

// Runs the action in processes of their own, of which each ends one call later than the one before,
// and at last one that ends by itself; all that before and after the effect of the call. `prepare`
// runs before each of them, `judge` after it.
template <typename Prepare, typename Action, typename Judge>
void endAtEachCall(int leastCalls, Prepare prepare, Action action, Judge judge) {
    for (const auto kind : {desktop::Fault::EndBefore, desktop::Fault::EndAfter}) {
        int call = 0, status = 0;
        do {
            SCOPED_TRACE(testing::Message() << "call " << ++call << ", kind " << kind);
            prepare(call);
            std::fflush(nullptr);
            const pid_t child = fork();
            if (child == 0) {
                desktop::planFault({kind, "", call});
                action();
                _exit(0);
            }
            ASSERT_EQ(waitpid(child, &status, 0), child);
            ASSERT_TRUE(WIFEXITED(status));
            judge(WEXITSTATUS(status) == 0);
        } while (WEXITSTATUS(status) != 0 && !testing::Test::HasFatalFailure());
        EXPECT_GT(call, leastCalls);  // Fewer: the action never got going.
    }
}
