// Seven registrations in a folder full of leftovers, with the process ended at every single call of
// the platform, and with every call failing.

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <thread>

#include "common/handle.h"
#include "platform/control.h"
#include "store/clip_name.h"
#include "store/retention.h"
#include "tests/full_disk.h"
#include "tests/retention_model.h"

namespace {

const std::string cannotWrite =
    "Cannot write recording ownership ledger; check free space and folder permissions";
const std::string cannotDelete = "Could not remove an old owned clip (file may be in use)";

// In memory, so that thousands of writes through to the disk cost nothing.
struct Folder : ScratchFolder {
    Folder() {
        std::filesystem::remove_all(path);
        path = "/dev/shm/" + path.filename().string();
        std::filesystem::create_directories(path);
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

Handle open(const Path& file) {
    return ownHandle(CreateFileW(file.string<WCHAR>().c_str(), GENERIC_READ, FILE_SHARE_READ,
                                 nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

// As the recording job publishes. False if there is no clip then.
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
        if (number == first + 1) player = open(folder / clipName(2));
        if (number == first + 3) player.reset();
        const Path clip = folder / clipName(number);
        if (!publish(clip)) continue;
        outcome.published.push_back(clipName(number));
        const std::string words = failureOf([&] { registerCompletedClip(folder, clip); });
        if (!words.empty()) outcome.warnings.push_back(words);
    }
    return outcome;
}

// What the scenario may leave on the disk at any moment, in order; temporary files left out.
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

Disk withoutTemporaries(Disk disk) {
    disk.erase("completed.txt.new");
    std::erase_if(disk, [](const auto& item) {
        return item.first.ends_with(".partial.mp4") && item.second == "file new";
    });
    return disk;
}

// Runs the scenario in a process of its own with a planned end; the exit code.
int runEndingAt(const Path& folder, desktop::Fault::Kind kind, int call) {
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        desktop::planFault({kind, "", call, 0, false});
        registerSeven(folder, 101);
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(StoreSweep, leavesAWholeStateWhereverTheProcessEnds) {
    for (const auto kind : {desktop::Fault::EndBefore, desktop::Fault::EndAfter}) {
        std::size_t reached = 0, last = 0;
        int call = 0;
        for (int code = desktop::plannedEndCode; code == desktop::plannedEndCode;) {
            SCOPED_TRACE(testing::Message() << "call " << ++call << ", kind " << kind);
            const Folder folder;
            const std::vector<Disk> states = statesOfSeven(pictureOf(folder.path), 101);
            code = runEndingAt(folder.path, kind, call);
            const Disk left = withoutTemporaries(pictureOf(folder.path));
            const auto state = std::find(states.begin() + static_cast<std::ptrdiff_t>(reached),
                                         states.end(), left);
            ASSERT_NE(state, states.end()) << testing::PrintToString(left);
            reached = static_cast<std::size_t>(state - states.begin());
            last = states.size() - 1;
            // A new list that was cut short in the middle must not count either.
            const Path unfinished = folder.path / "completed.txt.new";
            if (std::filesystem::exists(unfinished)) std::filesystem::resize_file(unfinished, 70);

            const Disk next = statesOfSeven(pictureOf(folder.path), 201).back();
            registerSeven(folder.path, 201);
            ASSERT_EQ(pictureOf(folder.path), next);
        }
        EXPECT_EQ(reached, last);
        EXPECT_GT(call, 80);  // Fewer means that the scenario never got going.
    }
}

// What a registration says when this operation fails; the clip that is in use has its own words.
std::string wordsFor(const std::string& operation, DWORD code) {
    if (operation == "GetFileAttributesW") return "Refusing retention in a linked folder";
    if (operation != "MoveFileExW") return cannotDelete;
    return "Cannot replace recording ownership ledger (Windows error " + std::to_string(code) + ")";
}

void expectWords(const Outcome& outcome, const std::string& operation, DWORD code,
                 bool andAllLater) {
    std::set<std::string> expected{cannotDelete, wordsFor(operation, code)};
    // Not only clips are deleted, but also what has the name of the new list.
    if (operation == "DeleteFileW" || andAllLater) expected.insert(cannotWrite);
    if (andAllLater)
        expected.insert({wordsFor("GetFileAttributesW", code), wordsFor("MoveFileExW", code)});
    const std::set<std::string> told(outcome.warnings.begin(), outcome.warnings.end());
    EXPECT_TRUE(std::includes(expected.begin(), expected.end(), told.begin(), told.end()))
        << testing::PrintToString(told);
    // All were published, so it was a ledger that could not be replaced.
    const bool isLedger = operation == "MoveFileExW" && outcome.published.size() == 7;
    EXPECT_TRUE(!isLedger || told.contains(wordsFor(operation, code)));
}

// Foreign files are as they were, each published clip is there or was pruned by the rule, and the
// ledger consists of whole lines.
void expectUnharmed(const Disk& before, const Disk& after, const Outcome& outcome) {
    const std::vector<std::string> ours = ownedIn(before);
    for (const auto& [name, item] : before) {
        if (name == "completed.txt" || std::count(ours.begin(), ours.end(), name)) continue;
        EXPECT_TRUE(after.contains(name) && after.at(name) == item) << name;
    }
    for (std::size_t from = outcome.published.size() > 5 ? outcome.published.size() - 5 : 0;
         from < outcome.published.size(); ++from)
        EXPECT_TRUE(isFile(after, outcome.published[from])) << outcome.published[from];
    for (const std::string& line : linesOf(after.at("completed.txt").substr(5)))
        EXPECT_TRUE(line.size() == 45 || before.at("completed.txt") == after.at("completed.txt"));
}

TEST(StoreSweep, survivesEveryFailingCall) {
    constexpr DWORD codes[] = {ERROR_ACCESS_DENIED, ERROR_SHARING_VIOLATION, ERROR_DISK_FULL,
                               ERROR_FILE_NOT_FOUND};
    for (const bool andAllLater : {false, true}) {
        int call = 0;
        for (bool struck = true; struck;) {
            ++call;
            for (const DWORD code : codes) {
                SCOPED_TRACE(testing::Message()
                             << "call " << call << ", code " << code << ", later " << andAllLater);
                const Folder folder;
                const Disk before = pictureOf(folder.path);
                desktop::clearFaults();
                desktop::planFault({desktop::Fault::Fail, "", call, code, andAllLater});
                const Outcome outcome = registerSeven(folder.path, 101);
                struck = desktop::faultStruck();
                const std::string operation = desktop::struckCall();
                desktop::clearFaults();
                if (struck)
                    expectWords(outcome, operation, code, andAllLater);
                else
                    EXPECT_EQ(outcome.warnings, (std::vector{cannotDelete, cannotDelete}));
                expectUnharmed(before, pictureOf(folder.path), outcome);
                EXPECT_TRUE(desktop::openObjects().empty());

                const Disk next = statesOfSeven(pictureOf(folder.path), 201).back();
                registerSeven(folder.path, 201);
                ASSERT_EQ(pictureOf(folder.path), next);
            }
        }
        EXPECT_GT(call, 50);
    }
}

// The oldest clip changes between the reading of the ledger and its deletion.
TEST(StoreSweep, looksAgainRightBeforeDeleting) {
    const std::string refused = "Retention refused a linked/non-file entry";
    const std::pair<std::function<void(const Path&)>, std::string> rows[] = {
        {[](const Path&) {}, ""},
        {[](const Path& clip) { std::filesystem::create_directory(clip); }, refused},
        {[](const Path& clip) { std::filesystem::create_symlink("mine", clip); }, refused}};
    for (const auto& [replace, expected] : rows) {
        const ScratchFolder place;
        const Path oldest = place.path / clipName(1);
        makeClips(place.path, {1, 2, 3, 4, 5, 101});
        writeFile(place.path / "completed.txt", ledgerOf({1, 2, 3, 4, 5}));
        // One look at the folder, five at the listed clips; the next is the one before the delete.
        desktop::planFault({desktop::Fault::Stall, "GetFileAttributesW", 7, 0, false});
        std::string words;
        std::thread registering([&] {
            words =
                failureOf([&] { registerCompletedClip(place.path, place.path / clipName(101)); });
        });
        EXPECT_TRUE(desktop::waitUntil(desktop::faultStruck));
        std::filesystem::remove(oldest);
        replace(oldest);
        desktop::clearFaults();
        registering.join();
        EXPECT_EQ(words, expected);
        EXPECT_EQ(pictureOf(place.path).contains(clipName(1)), !expected.empty());
    }
}

TEST(StoreSweep, leavesALinkedFolderAndAFullDiskAsTheyAre) {
    const Folder folder;
    const ScratchFolder elsewhere;
    const Path link = elsewhere.path / "Recordings";
    std::filesystem::create_directory_symlink(folder.path, link);
    writeFile(folder.path / clipName(101), "new");
    const Disk before = pictureOf(folder.path);
    const auto registerIn = [](const Path& place) {
        return failureOf([&] { registerCompletedClip(place, place / clipName(101)); });
    };
    EXPECT_EQ(registerIn(link), "Refusing retention in a linked folder");
    EXPECT_EQ(pictureOf(folder.path), before);
    // The list is written in one piece as it is closed; not even its first line fits.
    for (const rlim_t space : {0, 30}) {
        const FullDisk disk(space);
        EXPECT_EQ(registerIn(folder.path), cannotWrite);
        std::filesystem::remove(folder.path / "completed.txt.new");
        EXPECT_EQ(pictureOf(folder.path), before);
    }
    // A link of the new list's name is replaced, not followed.
    std::filesystem::create_symlink("notes.txt", folder.path / "completed.txt.new");
    EXPECT_EQ(registerIn(folder.path), "");
    EXPECT_EQ(readFile(folder.path / "notes.txt"), "foreign");
}

// A pipe in the ledger's place counts as no ledger, and one in a clip's place as no clip.
TEST(StoreSweep, doesNotWaitForAPipe) {
    const ScratchFolder folder;
    const Path ledger = folder.path / "completed.txt";
    for (const Path& pipe : {ledger, folder.path / "completed.txt.new", folder.path / clipName(1)})
        mkfifo(pipe.c_str(), 0600);
    makeClips(folder.path, {2, 3});
    registerCompletedClip(folder.path, folder.path / clipName(2));
    EXPECT_EQ(readFile(ledger), ledgerOf({2}));
    writeFile(ledger, ledgerOf({1, 2}));
    registerCompletedClip(folder.path, folder.path / clipName(3));
    EXPECT_EQ(readFile(ledger), ledgerOf({2, 3}));
}

}  // namespace
