// What a recording calls of the four libraries, in order, and what becomes of it where they are
// Wine's own, or one is absent.

#include "tests/capture_road.h"
#include "tests/windows/wine.h"

using namespace user;

namespace {

// The record with the clip's name for its path.
std::vector<std::string> readRecord(const Path& clip) {
    std::ifstream record(callRecord());
    std::vector<std::string> lines;
    for (std::string line; std::getline(record, line); lines.push_back(line))
        if (const std::size_t at = line.find(clip.string()); at != std::string::npos)
            line.replace(at, clip.string().size(), "<clip>");
    return lines;
}

}  // namespace

TEST(Calls, ofARecording) {
    atDesktop([] {
        const Program program;
        startRecording({300, 310, 502, 464}, 5);
        EXPECT_EQ(road::normalized(readRecord(stopRecording())), road::recording);
    });
}

TEST(Calls, failWithTheSystemsOwnLibraries) {
    const std::pair<std::string, std::string> rows[] = {
        // Nothing of Wine's is missing before the duplication.
        {"", "Duplicate desktop (local unlocked desktop required) (0x80004001)"},
        // Some editions of Windows come without Media Foundation.
        {"mfplat", "Media Foundation startup (0x8007007e)"},
    };
    for (const auto& [absent, notice] : rows)
        atDesktop([&] {
            for (const std::string& library : libraries)
                setLoadOrder(library, library == absent ? "" : "builtin");
            const Program program;
            openSheet();
            drag({300, 310, 502, 464});
            awaitNotice(notice);
        });
}
