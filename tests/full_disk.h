// A full disk, for what this process writes.

#pragma once

#include <sys/resource.h>

#include <csignal>

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
