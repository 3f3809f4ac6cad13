// Measures the program.
//
//     benchmark [conversion] [ledger] [recording] [idle] [SECONDS]
//
// Without a word everything is measured. A recording takes 20 seconds, and the idle program is
// watched for 60, if nothing else is said.

#include "benchmarks/benchmark.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

#include "demo/person.h"

namespace {

bool isNumber(const std::string& word) {
    return !word.empty() && word.find_first_not_of("0123456789") == std::string::npos;
}

int usage() {
    std::fputs("usage: benchmark [conversion] [ledger] [recording] [idle] [SECONDS]\n", stderr);
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
    std::vector<std::string> words(arguments + 1, arguments + count);
    int seconds = 0;
    if (!words.empty() && isNumber(words.back())) {
        seconds = std::max(1, std::atoi(words.back().c_str()));
        words.pop_back();
    }
    if (words.empty()) words = {"conversion", "ledger", "recording", "idle"};
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    try {
        for (const std::string& word : words)
            if (word == "conversion")
                measureConversion();
            else if (word == "ledger")
                measureLedger();
            else if (word == "recording")
                measureRecordings(seconds ? seconds : 20);
            else if (word == "idle")
                measureIdleness(seconds ? seconds : 60);
            else
                return usage();
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return 1;
    }
    return 0;
}
