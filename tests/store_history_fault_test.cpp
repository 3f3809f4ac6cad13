// Random histories of registrations and of what people and other programs do to the folder in
// between, against the rule. A failing history names its seed.

#include <gtest/gtest.h>

#include <random>

#include "store/retention.h"
#include "tests/retention_model.h"

namespace {

constexpr int histories = 20'000;

struct History {
    History(Path place, unsigned seed) : folder(std::move(place)), random(seed) {}

    int below(int limit) { return std::uniform_int_distribution(0, limit - 1)(random); }
    Path anyClip() { return folder / clipName(1 + below(12)); }

    void deleteOrReplace() {
        const Path clip = anyClip();
        std::filesystem::remove_all(clip);
        switch (below(4)) {
        case 0: std::filesystem::create_directory(clip); break;
        case 1: std::filesystem::create_symlink("foreign.txt", clip); break;
        case 2: writeFile(clip, "replaced"); break;
        }
    }

    void rename() {
        std::error_code nothingThere;
        std::filesystem::rename(anyClip(), below(2) ? anyClip() : folder / "mine.mp4",
                                nothingThere);
    }

    void editLedger() {
        const Path ledger = folder / "completed.txt";
        std::string text = readFile(ledger);
        const std::size_t place = static_cast<std::size_t>(below(int(text.size()) + 1));
        switch (below(6)) {
        case 0: text.insert(place, clipName(1 + below(12)) + "\r\n"); break;
        case 1: text.insert(place, std::string(1, "\r\n x\0"[below(5)])); break;
        case 2: text.erase(place, static_cast<std::size_t>(below(60))); break;
        case 3: text += clipName(1 + below(12)); break;
        case 4: text = text.substr(0, place) + text; break;
        case 5: std::filesystem::remove(ledger); return;
        }
        writeFile(ledger, text);
    }

    void registerNewClip() {
        const std::string clip = clipName(++newest);
        writeFile(folder / clip, "new");
        const Disk expected = stepsOfRegistration(pictureOf(folder), clip).back();
        registerCompletedClip(folder, folder / clip);
        ASSERT_EQ(pictureOf(folder), expected);
    }

    void run() {
        for (int step = 6 + below(8); step > 0 && !testing::Test::HasFatalFailure(); --step) {
            switch (below(6)) {
            case 0: deleteOrReplace(); break;
            case 1: rename(); break;
            case 2: editLedger(); break;
            default: registerNewClip(); break;
            }
        }
    }

    Path folder;
    std::mt19937 random;
    int newest = 100;
};

TEST(StoreHistory, neverLeavesTheRule) {
    const ScratchFolder place;
    const Path folder = "/dev/shm" / place.path.filename();
    for (unsigned seed = 1; seed <= histories && !HasFatalFailure(); ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        std::filesystem::remove_all(folder);
        std::filesystem::create_directory(folder);
        makeClips(folder, {1, 2, 3, 4, 5, 6, 7, 8});
        writeFile(folder / "foreign.txt", "foreign");
        writeFile(folder / "completed.txt", ledgerOf({3, 1, 4, 2, 5}));
        History(folder, seed).run();
    }
    std::filesystem::remove_all(folder);
}

}  // namespace
