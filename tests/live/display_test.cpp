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

TEST_F(Display, ofAWaylandSessionIsToldOnce) {
    live::startDisplay();
    void (*const signs[])() = {
        [] { setenv("WAYLAND_DISPLAY", "wayland-0", 1); },
        [] {
            live::setMonitor("XWAYLAND0", {0, 0, 1920, 1080}, true);
        },
    };
    for (const auto& giveSign : signs) {
        giveSign();
        const pid_t first = start();
        EXPECT_TRUE(desktop::waitUntil(
            [] { return live::findWindow("Only the windows of X11 programs can be recorded."); }));
        EXPECT_EQ(live::waitFor(start()), 0);
        EXPECT_EQ(live::end(first), 0);
        EXPECT_EQ(told(), "Wayland session: only the windows of X11 programs can be recorded.\n");
        unsetenv("WAYLAND_DISPLAY");
        std::filesystem::remove(words);
    }
}

}  // namespace
