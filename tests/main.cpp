// Runs tests on the embedded desktop and in user folders of their own, so that none of them meets
// the user's clips and settings or another test's. Their names have what a careless path loses.

#include <gtest/gtest.h>

#include <cstdlib>

#include "platform/hosts/host.h"
#include "tests/scenarios/native.h"

void user::makeFolders(const Path& home) {
    for (const char* const variable : {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME",
                                       "XDG_RUNTIME_DIR", "TMPDIR"}) {
        std::filesystem::create_directories(home / variable);
        std::filesystem::permissions(home / variable, std::filesystem::perms::owner_all);
        setenv(variable, (home / variable).c_str(), 1);
    }
}

int main(int argumentCount, char** arguments) {
    testing::InitGoogleTest(&argumentCount, arguments);
    const Path folder = person::makeTemporaryFolder();
    user::makeFolders(folder / "desk clip t\u00E4st");
    host::use(host::memoryHost());
    const int result = RUN_ALL_TESTS();
    std::filesystem::remove_all(folder);
    return result;
}
