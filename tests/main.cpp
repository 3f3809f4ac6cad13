// Runs tests on the embedded desktop and in user folders of their own, so that none of them meets
// the user's clips and settings or another test's. Their names have what a careless path loses.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "platform/hosts/host.h"

int main(int argumentCount, char** arguments) {
    testing::InitGoogleTest(&argumentCount, arguments);

    std::string pattern =
        (std::filesystem::temp_directory_path() / "desk clip t\u00E4st-XXXXXX").string();
    if (!mkdtemp(pattern.data())) return EXIT_FAILURE;
    const std::filesystem::path home = pattern;
    for (const char* const variable : {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME",
                                       "XDG_RUNTIME_DIR", "TMPDIR"}) {
        const std::filesystem::path folder = home / variable;
        std::filesystem::create_directory(folder);
        std::filesystem::permissions(folder, std::filesystem::perms::owner_all);
        setenv(variable, folder.c_str(), 1);
    }

    host::use(host::memoryHost());
    const int result = RUN_ALL_TESTS();
    std::filesystem::remove_all(home);
    return result;
}
