// Measures what needs no recording: benchmark conversion|ledger|idle [SECONDS]
//
// The idle program is watched for 60 seconds unless another number is given.

#include "benchmarks/benchmark.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>

#include "demo/person.h"

namespace {

int usage() {
    std::fputs("usage: benchmark conversion|ledger|idle [SECONDS]\n", stderr);
    return 2;
}

}  // namespace

void inOwnProcess(const char* name, const std::function<void(const std::filesystem::path&)>& body) {
    const std::filesystem::path folder = person::makeTemporaryFolder();
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        for (const char* const variable :
             {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_RUNTIME_DIR", "TMPDIR"})
            setenv(variable, folder.c_str(), 1);
        unsetenv("DBUS_SESSION_BUS_ADDRESS");
        try {
            body(folder);
            std::fflush(nullptr);
            _exit(0);
        } catch (const std::exception& failure) {
            std::fprintf(stderr, "%s: %s\n", name, failure.what());
            _exit(1);
        }
    }
    int status = 0;
    waitpid(child, &status, 0);
    std::filesystem::remove_all(folder);
    if (status != 0) throw std::runtime_error(std::string(name) + " failed");
}

int main(int count, char** arguments) {
    if (count < 2) return usage();
    const std::string section = arguments[1];
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    try {
        if (section == "conversion")
            measureConversion();
        else if (section == "ledger")
            measureLedger();
        else if (section == "idle")
            measureIdleness(count > 2 ? std::max(1, std::atoi(arguments[2])) : 60);
        else
            return usage();
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return 1;
    }
    return 0;
}
