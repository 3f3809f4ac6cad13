// Runs tests on the embedded desktop and in user folders of their own, so that none of them meets
// the user's clips and settings or another test's. Their names have what a careless path loses.

#include <gtest/gtest.h>

#include <cstdlib>

#include "demo/person.h"
#include "platform/hosts/host.h"

int main(int argumentCount, char** arguments) {
    testing::InitGoogleTest(&argumentCount, arguments);
    const std::filesystem::path home = person::makeTemporaryFolder();
    for (const char* const variable : {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME",
                                       "XDG_RUNTIME_DIR", "TMPDIR"}) {
        const std::filesystem::path folder = home / "desk clip t\u00E4st" / variable;
        std::filesystem::create_directories(folder);
        std::filesystem::permissions(folder, std::filesystem::perms::owner_all);
        setenv(variable, folder.c_str(), 1);
    }
    host::use(host::memoryHost());
    const int result = RUN_ALL_TESTS();
    std::filesystem::remove_all(home);
    return result;
}
