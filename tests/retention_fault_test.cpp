// Retention against its rule: random histories, seven registrations in a folder full of leftovers
// with the process ended at every call and with every call failing, and what changes meanwhile.

#include "store/retention.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <optional>
#include <random>
#include <thread>

#include "store/clip_name.h"
#include "tests/retention_model.h"
#include "tests/sweep.h"

namespace {

const std::string cannotDelete = "Could not remove an old owned clip (file may be in use)";
const std::string cannotWrite =
    "Cannot write recording ownership ledger; check free space and folder permissions";
const std::string linkedFolder = "Refusing retention in a linked folder";

std::string registerClip(const Path& folder, const std::string& name) {
    return failureOf([&] { registerCompletedClip(folder, folder / name); });
}

// A failing history names its seed.
struct History {
    int below(int limit) { return std::uniform_int_distribution(0, limit - 1)(random); }
    std::string anyName() { return clipName(1 + below(16)); }

    void deleteOrReplace() {
        const Path clip = folder / anyName();
        std::filesystem::remove_all(clip);
        switch (below(4)) {
        case 0: std::filesystem::create_directory(clip); break;
        case 1: std::filesystem::create_symlink("foreign.txt", clip); break;
        case 2: writeFile(clip, "replaced"); break;
        }
    }

    void rename() {
        std::error_code nothingThere;
        std::filesystem::rename(folder / anyName(), folder / (below(2) ? anyName() : "mine.mp4"),
                                nothingThere);
    }

    void editLedger() {
        std::string text = readFile(folder / "completed.txt");
        const auto at = static_cast<std::size_t>(below(static_cast<int>(text.size()) + 1));
        switch (below(6)) {
        case 0: text.insert(at, anyName() + "\r\n"); break;
        case 1: text.insert(at, 1, "\r\n x\0"[below(5)]); break;
        case 2: text.erase(at, static_cast<std::size_t>(below(60))); break;
        case 3: text += anyName(); break;
        case 4: text = text.substr(0, at) + text; break;
        case 5: std::filesystem::remove(folder / "completed.txt"); return;
        }
        writeFile(folder / "completed.txt", text);
    }

    void registerNewClip() {
        const std::string clip = clipName(++newest);
        std::filesystem::remove_all(folder / clip);
        writeFile(folder / clip, "new");
        const Disk expected = stepsOfRegistration(contentsOf(folder), clip).back();
        ASSERT_EQ(registerClip(folder, clip), "");
        ASSERT_EQ(contentsOf(folder), expected);
    }

    Path folder;
    std::mt19937 random;
    int newest = 8;
};

TEST(RetentionHistory, neverLeavesTheRule) {
    for (unsigned seed = 1; seed <= 5'000 && !HasFatalFailure(); ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        const ScratchFolder folder(memory);
        makeClips(folder.path, {1, 2, 3, 4, 5, 6, 7, 8});
        writeFile(folder.path / "foreign.txt", "foreign");
        writeFile(folder.path / "completed.txt", ledgerOf({3, 1, 4, 2, 5}));
        History history{folder.path, std::mt19937(seed)};
        for (int step = 6 + history.below(8); step > 0 && !HasFatalFailure(); --step)
            switch (history.below(6)) {
            case 0: history.deleteOrReplace(); break;
            case 1: history.rename(); break;
            case 2: history.editLedger(); break;
            default: history.registerNewClip(); break;
            }
    }
}

struct LeftoverFolder : ScratchFolder {
    LeftoverFolder() : ScratchFolder(memory) {
        makeClips(path, {1, 2, 3, 4, 5, 6, 30});
        for (const char* const name :
             {"notes.txt", "clip-1.mp4", "CLIP-00000000-0000-4000-8000-000000000001.mp4"})
            writeFile(path / name, "foreign");
        writeFile(path / (clipName(7) + ".partial.mp4"), "from a crash");
        std::filesystem::create_directory(path / clipName(8));
        std::filesystem::create_symlink("notes.txt", path / clipName(9));
        writeFile(path / "completed.txt", ledgerOf({8, 1}) + "damaged\r\n" +
                                              ledgerOf({2, 9, 1, 3, 20}) + clipName(4) + " \r\n" +
                                              ledgerOf({5, 6}));
    }
};

// As the recording job publishes.
bool publish(const Path& clip) {
    const Path partial = partialPath(clip);
    writeFile(partial, "new");
    if (MoveFileExW(partial.string<WCHAR>().c_str(), clip.string<WCHAR>().c_str(),
                    MOVEFILE_WRITE_THROUGH))
        return true;
    std::filesystem::remove(partial);
    return false;
}

struct Outcome {
    std::vector<std::string> published, warnings;
};

// Clip 2 is open in a player while the second and third clip are registered.
Outcome registerSeven(const Path& folder, int first) {
    Outcome outcome;
    Handle player;
    for (int number = first; number < first + 7; ++number) {
        if (number == first + 1) player = play(folder / clipName(2));
        if (number == first + 3) player.reset();
        if (!publish(folder / clipName(number))) continue;
        outcome.published.push_back(clipName(number));
        const std::string words = registerClip(folder, clipName(number));
        if (!words.empty()) outcome.warnings.push_back(words);
    }
    return outcome;
}

// What the seven may leave on the disk at any moment, in order; temporary files left out.
std::vector<Disk> statesOfSeven(Disk disk, int first) {
    disk.erase("completed.txt.new");
    std::vector<Disk> states{disk};
    for (int number = first; number < first + 7; ++number) {
        disk = states.back();
        disk[clipName(number)] = "file new";
        states.push_back(disk);
        const bool isPlaying = number == first + 1 || number == first + 2;
        for (const Disk& step :
             stepsOfRegistration(disk, clipName(number), isPlaying ? clipName(2) : ""))
            states.push_back(step);
    }
    return states;
}

void expectNextSevenWork(const Path& folder) {
    const Disk expected = statesOfSeven(contentsOf(folder), 201).back();
    registerSeven(folder, 201);
    ASSERT_EQ(contentsOf(folder), expected);
}

TEST(RetentionSweep, leavesAWholeStateWhereverTheProcessEnds) {
    std::optional<LeftoverFolder> folder;
    std::vector<Disk> states;
    std::ptrdiff_t reached = 0;
    endAtEachCall(
        80,
        [&](int call) {
            folder.emplace();
            states = statesOfSeven(contentsOf(folder->path), 101);
            if (call == 1) reached = 0;
        },
        [&] { registerSeven(folder->path, 101); },
        [&](bool ranToItsEnd) {
            Disk left = contentsOf(folder->path);
            left.erase("completed.txt.new");
            std::erase_if(left, [](const auto& item) {
                return item.first.ends_with(".partial.mp4") && item.second == "file new";
            });
            const auto state = std::find(states.begin() + reached, states.end(), left);
            ASSERT_NE(state, states.end()) << testing::PrintToString(left);
            reached = state - states.begin();
            EXPECT_TRUE(!ranToItsEnd || left == states.back());
            // A new list that was cut short in the middle must not count either.
            const Path unfinished = folder->path / "completed.txt.new";
            if (std::filesystem::exists(unfinished)) std::filesystem::resize_file(unfinished, 70);
            expectNextSevenWork(folder->path);
        });
}

// Foreign files stay as they were, the newest five that were published stay, and what is said
// is true.
void judgeSeven(const Disk& before, const Disk& after, const Outcome& outcome,
                const std::string& failed, DWORD code) {
    const std::string cannotReplace =
        "Cannot replace recording ownership ledger (Windows error " + std::to_string(code) + ")";
    const auto& [published, warnings] = outcome;
    const auto says = [&](const std::string& words) {
        return std::count(warnings.begin(), warnings.end(), words);
    };
    EXPECT_TRUE(!failed.empty() || warnings == (std::vector{cannotDelete, cannotDelete}));
    EXPECT_EQ(says(cannotDelete) + says(cannotWrite) + says(linkedFolder) + says(cannotReplace),
              static_cast<std::ptrdiff_t>(warnings.size()))
        << testing::PrintToString(warnings);
    // All were published, so it was a ledger that could not be replaced.
    EXPECT_TRUE(failed != "MoveFileExW" || published.size() < 7 || says(cannotReplace));

    const std::vector<std::string> ours = ownedIn(before);
    for (const auto& [name, item] : before) {
        if (name == "completed.txt" || std::count(ours.begin(), ours.end(), name)) continue;
        EXPECT_TRUE(after.contains(name) && after.at(name) == item) << name;
    }
    for (std::size_t from = published.size() > 5 ? published.size() - 5 : 0;
         from < published.size(); ++from)
        EXPECT_TRUE(isFile(after, published[from])) << published[from];
    EXPECT_TRUE(desktop::openObjects().empty());
}

TEST(RetentionSweep, survivesEveryFailingCall) {
    for (const bool andAllLater : {false, true}) {
        std::string failed = "none yet";
        for (int call = 1; !failed.empty(); ++call)
            for (const DWORD code : {ERROR_ACCESS_DENIED, ERROR_SHARING_VIOLATION, ERROR_DISK_FULL,
                                     ERROR_FILE_NOT_FOUND}) {
                SCOPED_TRACE(testing::Message()
                             << "call " << call << ", code " << code << ", later " << andAllLater);
                const LeftoverFolder folder;
                const Disk before = contentsOf(folder.path);
                Outcome outcome;
                failed = failing({desktop::Fault::Fail, "", call, code, andAllLater},
                                 [&] { outcome = registerSeven(folder.path, 101); });
                judgeSeven(before, contentsOf(folder.path), outcome, failed, code);
                expectNextSevenWork(folder.path);
                if (HasFatalFailure()) return;
            }
    }
}

TEST(Retention, looksAgainRightBeforeDeleting) {
    enum { Gone, Folder, Link };
    for (const auto change : {Gone, Folder, Link}) {
        const ScratchFolder folder;
        const Path oldest = folder.path / clipName(1);
        makeClips(folder.path, {1, 2, 3, 4, 5, 101});
        writeFile(folder.path / "completed.txt", ledgerOf({1, 2, 3, 4, 5}));
        // One look at the folder, five at the listed clips; the next is the one before the delete.
        desktop::planFault({desktop::Fault::Stall, "GetFileAttributesW", 7});
        std::string words;
        std::thread registering([&] { words = registerClip(folder.path, clipName(101)); });
        EXPECT_TRUE(desktop::waitUntil(desktop::faultStruck));
        std::filesystem::remove(oldest);
        if (change == Folder) std::filesystem::create_directory(oldest);
        if (change == Link) std::filesystem::create_symlink("mine", oldest);
        desktop::clearFaults();
        registering.join();
        EXPECT_EQ(words, change == Gone ? "" : "Retention refused a linked/non-file entry");
        EXPECT_EQ(contentsOf(folder.path).contains(clipName(1)), change != Gone);
    }
}

TEST(Retention, refusesWithoutAChangeOfTheFolder) {
    const LeftoverFolder folder;
    const ScratchFolder elsewhere;
    const Path link = elsewhere.path / "Recordings";
    std::filesystem::create_directory_symlink(folder.path, link);
    const Disk before = contentsOf(folder.path);
    EXPECT_EQ(registerClip(link, clipName(30)), linkedFolder);
    EXPECT_EQ(registerClip(folder.path / "gone", clipName(30)), linkedFolder);
    for (const Path& clip : {elsewhere.path / clipName(30), folder.path / "clip-1.mp4"})
        EXPECT_EQ(failureOf([&] { registerCompletedClip(folder.path, clip); }),
                  "Invalid completed recording name");
    EXPECT_EQ(contentsOf(folder.path), before);
    // The list is written in one piece as it is closed; not even its first line fits.
    for (const rlim_t space : {0, 30}) {
        const FullDisk disk(space);
        EXPECT_EQ(registerClip(folder.path, clipName(30)), cannotWrite);
        std::filesystem::remove(folder.path / "completed.txt.new");
        EXPECT_EQ(contentsOf(folder.path), before);
    }
    // A link of the new list's name is replaced, not followed.
    std::filesystem::create_symlink("notes.txt", folder.path / "completed.txt.new");
    EXPECT_EQ(registerClip(folder.path, clipName(30)), "");
    EXPECT_EQ(readFile(folder.path / "notes.txt"), "foreign");
}

// A pipe under the ledger's name counts as no ledger, and one under a clip's name as no clip.
TEST(Retention, doesNotWaitForAPipe) {
    const ScratchFolder folder;
    const Path ledger = folder.path / "completed.txt";
    for (const Path& pipe : {ledger, folder.path / "completed.txt.new", folder.path / clipName(1)})
        mkfifo(pipe.c_str(), 0600);
    makeClips(folder.path, {2, 3});
    EXPECT_EQ(registerClip(folder.path, clipName(2)), "");
    EXPECT_EQ(readFile(ledger), ledgerOf({2}));
    writeFile(ledger, ledgerOf({1, 2}));
    EXPECT_EQ(registerClip(folder.path, clipName(3)), "");
    EXPECT_EQ(readFile(ledger), ledgerOf({2, 3}));
}

}  // namespace
