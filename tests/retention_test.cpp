// Random histories of retention against its rule. A failing one names its seed.

#include "store/retention.h"

#include <gtest/gtest.h>

#include <random>

#include "tests/retention_model.h"

namespace {

// One change that is not the program's.
void meddle(const Path& folder, const auto& below) {
    const auto anyName = [&] { return clipName(static_cast<int>(1 + below(16))); };
    const Path clip = folder / anyName(), ledger = folder / "completed.txt";
    std::string text = readFile(ledger);
    const std::size_t at = below(text.size() + 1);
    const std::string pieces[] = {anyName() + "\r\n", anyName(), "\r", "\n", " ", "x", text};
    const std::size_t kind = below(9);
    std::error_code ignored;
    if (kind < 3) std::filesystem::remove_all(clip);
    if (kind == 1) std::filesystem::create_directory(clip);
    if (kind == 2) std::filesystem::create_symlink("foreign.txt", clip, ignored);
    if (kind == 3) std::filesystem::rename(clip, folder / anyName(), ignored);
    if (kind == 4) std::filesystem::rename(clip, folder / "mine.mp4", ignored);
    if (kind == 5) std::filesystem::remove(ledger);
    if (kind == 6) writeFile(ledger, text.erase(at, below(60)));
    if (kind > 6) writeFile(ledger, text.insert(at, pieces[below(std::size(pieces))]));
}

// Under Wine each step takes some milliseconds.
constexpr unsigned seeds = Path::preferred_separator == '/' ? 5'000 : 200;

TEST(Retention, neverLeavesItsRule) {
    for (unsigned seed = 1; seed <= seeds && !HasFatalFailure(); ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        std::mt19937 random(seed);
        const auto below = [&](std::size_t limit) { return random() % limit; };
        const ScratchFolder folder(memory);
        makeClips(folder.path, {1, 2, 3, 4, 5, 6, 7, 8});
        writeFile(folder.path / "foreign.txt", "foreign");
        writeFile(folder.path / "completed.txt", ledgerOf({3, 1, 4, 2, 5}));
        int newest = 8;
        for (std::size_t step = 6 + below(8); step > 0; --step) {
            if (below(2) == 0) {
                meddle(folder.path, below);
                continue;
            }
            const Path clip = folder.path / clipName(++newest);
            std::filesystem::remove_all(clip);
            writeFile(clip, "new");
            const Disk before = contentsOf(folder.path);
            ASSERT_EQ(failureOf([&] { registerCompletedClip(folder.path, clip); }), "");
            ASSERT_EQ(contentsOf(folder.path),
                      stepsOfRegistration(before, clip.filename().string()).back());
        }
    }
}

}  // namespace
