// What the user is told of a display on which the program cannot work, or not wholly.

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

#include "platform/control.h"
#include "tests/live/xvfb.h"

namespace {

struct Display : testing::Test {
    // Adds what the program writes to its standard error stream to `words`.
    pid_t start() const {
        return live::start({"sh", "-c", "exec " PROGRAM_FILE " 2>>'" + words.string() + "'"});
    }
    std::string told() const {
        std::ifstream file(words);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    ~Display() override { std::filesystem::remove(words); }

    const std::filesystem::path words = std::filesystem::temp_directory_path() / "words";
};

// As over a forwarded connection, where the extension is offered but no memory can be attached.
TEST_F(Display, thatSharesNoMemoryIsRefused) {
    setenv("DISPLAY", live::startDistantDisplay().c_str(), 1);
    const pid_t program = start();
    ASSERT_TRUE(desktop::waitUntil([&] { return !told().empty(); }));
    EXPECT_EQ(live::waitFor(program), 1);
    EXPECT_EQ(told(), "The display cannot share memory with this program\n");
}

}  // namespace
