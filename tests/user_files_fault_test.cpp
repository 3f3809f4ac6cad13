// What changes the user's files, at the worst moments: the process ends or a call fails, another
// program is faster, or something else is in the way.

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <set>
#include <thread>

#include "demo/person.h"
#include "settings/config_file.h"
#include "settings/startup.h"
#include "store/clipboard.h"
#include "store/data_folder.h"
#include "store/retention.h"
#include "tests/retention_model.h"

namespace {

using desktop::Fault;

struct Scene;

struct Subject {
    const char* name;
    Disk before;
    std::function<void(Scene&)> act;
    std::vector<Disk> steps;  // what it changes, in order
    // What is said where its calls fail, in order; equal neighbors once.
    std::vector<std::string> words;
};

void put(const Path& file, const std::string& item) {
    const std::string kind = item.substr(0, item.find(' '));
    const std::string text = item.substr(std::min(item.size(), kind.size() + 1));
    std::filesystem::remove_all(file);
    std::filesystem::create_directories(file.parent_path());
    if (kind == "folder") std::filesystem::create_directory(file);
    if (kind == "link") std::filesystem::create_symlink(text, file);
    if (kind == "pipe") mkfifo(file.c_str(), 0600);
    if (kind == "file" || kind == "read-only") writeFile(file, text);
    if (kind == "read-only") chmod(file.c_str(), 0400);
}

// The user's folders, of which every round has its own.
struct Scene {
    explicit Scene(const Subject& subject, const Disk& changes = {}) {
        setenv("XDG_DATA_HOME", home.c_str(), 1);
        setenv("XDG_CONFIG_HOME", home.c_str(), 1);
        for (const Disk& disk : {subject.before, changes})
            for (const auto& [name, item] : disk) put(home / name, item);
        if (isFile(subject.before, "config.ini"))
            failureOf([&] { loadShortcut(window.handle, config, shortcut); });
    }
    Disk look(bool withCopies = true) const {
        Disk disk = contentsOf(home);
        std::erase_if(disk, [&](const auto& one) {
            return one.first == "completed.txt.new" || (!withCopies && one.first.ends_with(".tmp"));
        });
        return disk;
    }
    std::string run(const Subject& subject) {
        return failureOf([&] { subject.act(*this); });
    }

    const ScratchFolder folder{memory};
    const Path home = folder.path, config = home / "config.ini";
    const TrayWindow window;
    ShortcutSpec shortcut;
};

const std::string cannotDelete = "Could not remove an old owned clip (file may be in use)";
const std::string cannotList =
    "Cannot write recording ownership ledger; check free space and folder permissions";
const std::string cannotReplace = "Cannot replace recording ownership ledger (Windows error 5)";
const std::string linkedFolder = "Refusing retention in a linked folder";
Disk leftovers() {
    Disk disk{{clipName(7) + ".partial.mp4", "file from a crash"},
              {clipName(8), "folder"},
              {clipName(9), "link clip-1.mp4"},
              {"CLIP-00000000-0000-4000-8000-000000000001.mp4", "file foreign"},
              {"clip-1.mp4", "file foreign"},
              {"completed.txt.new", "file " + ledgerOf({4})},
              {"completed.txt", "file " + ledgerOf({8, 1}) + "damaged\r\n" +
                                    ledgerOf({2, 9, 1, 3, 20}) + clipName(4) + " \r\n" +
                                    ledgerOf({5, 6, 10})}};
    for (const int number : {1, 2, 3, 4, 5, 6, 10, 11})
        disk[clipName(number)] = "file " + std::to_string(number);
    return disk;
}
const Subject registration{
    "registration",
    leftovers(),
    [](Scene& scene) { registerCompletedClip(scene.home, scene.home / clipName(11)); },
    {},
    {linkedFolder, "", cannotList, cannotReplace, "", cannotDelete, "", cannotDelete, cannotList,
     cannotReplace}};

const std::string oldText = "; mine\n[hotkey]\r\nmodifiers = 9 \r\nkey=119\n[other]\nkey=1";
const std::string newText = "; mine\n[hotkey]\r\nmodifiers =1\r\nkey=65\n[other]\nkey=1";
const std::string cannotPrepare =
    "Cannot prepare config.ini. Previous shortcut kept. Check file permissions.";
const std::string cannotSave =
    "Cannot save config.ini. Previous shortcut kept. Check file/folder permissions and free disk "
    "space, close programs locking the file, then retry Save.";
const Subject change{"change of the shortcut",
                     {{"config.ini", "file " + oldText}},
                     [](Scene& scene) {
                         const std::string words = failureOf([&] {
                             applyShortcut(scene.window.handle, scene.config, scene.shortcut, 1,
                                           65);
                         });
                         EXPECT_EQ(scene.shortcut.key == 65, words.empty());
                         if (!words.empty()) throw std::runtime_error(words);
                     },
                     {{{"config.ini", "file " + newText}}},
                     {"Shortcut unavailable or reserved by Windows. Previous shortcut kept.",
                      cannotPrepare, cannotSave}};
const Subject firstConfig{
    "first config.ini", {}, [](Scene& scene) { ensureConfigFile(scene.config); }, {{}}, {}};

const WideText exe = TEXT("/a\n \u00E9=b%\"\\$`c");
const std::string entry = "autostart/QuorvelDeskClip.desktop";
const std::string head = "file [Desktop Entry]\nType=Application\nName=QuorvelDeskClip\nExec=";
const std::string command = "\"/a\\n \xC3\xA9"
                            R"(=b%%\\"\\\\\\$\\`c)",
                  owned = head + command + "\"\n";
const std::string cannotUpdate = "Cannot update Windows startup registration.";
const std::string cannotRead = "Cannot read Windows startup value.";
const std::string refused = "Windows refused the startup change.";
const std::string changed = "Startup value changed or cannot be read; try again.";
const Subject enabling{"enabling the start",
                       {},
                       [](Scene&) { saveStartup(exe, true); },
                       {{{"autostart", "folder"}}, {{entry, owned}}},
                       {cannotUpdate, cannotRead, refused, cannotRead, changed}};
const Subject disabling{"disabling the start",
                        {{entry, owned}},
                        [](Scene&) { saveStartup(exe, false); },
                        {{{entry, ""}}},
                        {cannotUpdate, cannotRead, changed, refused, cannotRead}};

const std::string refusedLink = "App data folder must not be a junction/symlink";
const Subject dataFolder{
    "data folder",
    {},
    [](Scene&) { prepareDataFolder(); },
    {{{"Quorvel Desk Clip", "folder"}, {"Quorvel Desk Clip/Recordings", "folder"}}},
    {"LocalAppData (0x80004005)", refusedLink, "Cannot open completed clip/data folder",
     "Completed clip is empty or not a file", "Cannot resolve physical clip path"}};

const Subject* const subjects[] = {&registration, &change, &enabling, &disabling, &dataFolder};

// What may be left of a disk, in order; the last is the aim.
std::vector<Disk> statesOf(const Subject& subject, Disk disk) {
    if (subject.steps.empty()) return stepsOfRegistration(disk, clipName(11));
    std::vector<Disk> states{disk};
    for (const Disk& step : subject.steps) {
        for (const auto& [name, item] : step)
            if (!item.empty() || isFile(disk, name)) disk[name] = item;
        std::erase_if(disk, [](const auto& one) { return one.second.empty(); });
        states.push_back(disk);
    }
    return states;
}

TEST(UserFiles, areWholeWhereverTheProcessEnds) {
    for (const Subject* const subject : subjects)
        for (const auto kind : {Fault::EndBefore, Fault::EndAfter}) {
            std::ptrdiff_t reached = 0;
            int call = 0, status = 0;
            do {
                SCOPED_TRACE(testing::Message()
                             << subject->name << ", call " << ++call << ", kind " << kind);
                Scene scene(*subject);
                const std::vector<Disk> states = statesOf(*subject, scene.look());
                const auto before = states.begin() + reached;
                std::fflush(nullptr);
                const pid_t child = fork();
                if (child == 0) {
                    desktop::planFault({kind, "", call});
                    scene.run(*subject);
                    _exit(0);
                }
                waitpid(child, &status, 0);
                const Disk left = scene.look(false);
                const auto state = std::find(before, states.end(), left);
                ASSERT_NE(state, states.end()) << testing::PrintToString(left);
                reached = state - states.begin();
                EXPECT_EQ(scene.run(*subject), "");
                EXPECT_EQ(scene.look(false), states.back());
            } while (status == W_EXITCODE(desktop::plannedEndCode, 0));
            EXPECT_EQ(status, 0);
        }
}

void expectWholeAtEveryFailure(const Subject& subject, bool andAllLater) {
    std::vector<std::string> said;
    std::string failed = "none yet";
    for (int call = 1; !failed.empty(); ++call) {
        Scene scene(subject);
        const std::vector<Disk> states = statesOf(subject, scene.look());
        const auto held = desktop::openObjects();
        desktop::planFault({Fault::Fail, "", call, 0, andAllLater});
        const std::string words = scene.run(subject);
        failed = desktop::struckCall();
        desktop::clearFaults();
        SCOPED_TRACE(testing::Message() << subject.name << call << " " << failed << " " << words);
        const Disk left = scene.look(!andAllLater);
        // A listed clip that cannot be looked at counts as gone.
        if (failed != "GetFileAttributesW") {
            EXPECT_TRUE(std::ranges::count(states, left)) << testing::PrintToString(left);
            EXPECT_EQ(words.empty() ? left : states.back(), states.back());
        }
        EXPECT_EQ(failed.empty() ? words : "", "");
        if (andAllLater) continue;
        if (!failed.empty() && (said.empty() || said.back() != words)) said.push_back(words);
        EXPECT_EQ(scene.run(subject), "");
        EXPECT_EQ(scene.look(), statesOf(subject, left).back());
        EXPECT_EQ(desktop::openObjects(), held);
    }
    EXPECT_EQ(andAllLater ? subject.words : said, subject.words);
}

TEST(UserFiles, areWholeWhicheverCallFails) {
    for (const Subject* const subject : subjects)
        for (const bool andAllLater : {false, true})
            expectWholeAtEveryFailure(*subject, andAllLater);
}

TEST(UserFiles, meetAnotherProgramAtTheWorstMoment) {
    const std::string foreign = head + "\"x\"\n",
                      shorter = head + command.substr(0, command.size() - 1) + "\"\n",
                      longer = head + command + " --settings\"\n";
    const std::string notAFile = "Retention refused a linked/non-file entry";
    const std::string unconfirmed =
        "Startup changed during Save; its state could not be confirmed.";
    const struct {
        const Subject& subject;
        const char* operation;  // Right before its n-th call the item becomes another one.
        int nth;
        std::string name, item, words, left;
    } rows[] = {
        // The folder, nine listed names, and the look before the first delete.
        {registration, "GetFileAttributesW", 11, clipName(1), "", "", ""},
        {registration, "GetFileAttributesW", 11, clipName(1), "folder", notAFile, "folder"},
        {registration, "GetFileAttributesW", 11, clipName(1), "link x", notAFile, "link x"},
        // Between the two reads: nothing may be deleted that is somebody else's by now.
        {disabling, "RegQueryValueExW", 2, entry, longer, changed, longer},
        {disabling, "RegQueryValueExW", 2, entry, "file x", "", "file x"},
        {disabling, "RegQueryValueExW", 2, entry, shorter, "", shorter},
        // Between the change and the look after it.
        {enabling, "RegQueryValueExW", 2, entry, foreign, unconfirmed, foreign},
        {disabling, "RegQueryValueExW", 3, entry, foreign, unconfirmed, foreign},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        Scene scene(row.subject);
        desktop::planFault({Fault::Stall, row.operation, row.nth});
        std::string words;
        std::thread acting([&] { words = scene.run(row.subject); });
        EXPECT_TRUE(desktop::waitUntil(desktop::faultStruck));
        put(scene.home / row.name, row.item);
        desktop::clearFaults();
        acting.join();
        EXPECT_EQ(words, row.words);
        EXPECT_EQ(scene.look()[row.name], row.left);
    }
}

// A pipe that is opened would never answer, and a link would lead to a file of the user's.
TEST(UserFiles, surviveAFullDiskAndWhatIsInTheWay) {
    const std::string another = "Another startup entry uses this name. It was not overwritten.";
    const struct {
        const Subject& subject;
        Disk changes;
        std::string words;
        rlim_t space = RLIM_INFINITY;
    } rows[] = {
        {registration, {}, cannotList, 30},  // The list is written in one piece.
        {registration, {{"completed.txt.new", "folder"}}, cannotList},
        {registration, {{"completed.txt.new", "link clip-1.mp4"}}, ""},
        {registration, {{"completed.txt", "folder"}}, cannotReplace},
        {registration, {{"completed.txt", "pipe"}}, ""},
        {registration, {{clipName(2), "pipe"}}, ""},
        {change, {{"config.ini", "pipe"}}, cannotPrepare},
        {change, {{"config.ini", "read-only " + oldText}}, cannotSave},
        {firstConfig, {}, "Cannot create config", 100},
        {firstConfig, {{"config.ini", "pipe"}}, ""},
        {enabling, {{"autostart", "folder"}}, refused, 0},
        {enabling, {{"autostart", "file x"}}, cannotUpdate},
        {enabling, {{entry, "link x"}}, another},
        {enabling, {{entry, "pipe"}}, another},
        {enabling, {{entry, owned + "Hidden=true\n"}}, ""},
        {enabling, {{entry, owned + "X-GNOME-Autostart-enabled=false\n"}}, ""},
        {enabling, {{entry, head + command + "\" --settings\n"}}, another},
        {enabling, {{entry, head + command + "\n"}}, another},
        {enabling, {{entry, head + "\"\n[Other]\nExec=" + command + "\"\n"}}, another},
        {enabling, {{entry, "file \n"}}, another},
        {disabling, {{entry, owned + "X-GNOME-Autostart-enabled=true\n[O]\nHidden=1\n"}}, ""},
        {disabling, {{entry, "file #\n[Desktop Entry]\nExec = " + command + "\" \n"}}, ""},
        {disabling, {{entry, "folder"}}, ""},
        {disabling, {{"autostart", ""}}, ""},
        {dataFolder, {{"Quorvel Desk Clip", "link x"}, {"x/Recordings", "folder"}}, refusedLink},
        {dataFolder, {{"Quorvel Desk Clip/Recordings", "link ."}}, refusedLink},
    };
    std::signal(SIGXFSZ, SIG_IGN);
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        Scene scene(row.subject, row.changes);
        const std::vector<Disk> states = statesOf(row.subject, scene.look());
        rlimit all;
        getrlimit(RLIMIT_FSIZE, &all);
        const rlimit space{std::min(row.space, all.rlim_max), all.rlim_max};
        setrlimit(RLIMIT_FSIZE, &space);
        const std::string words = scene.run(row.subject);
        setrlimit(RLIMIT_FSIZE, &all);
        EXPECT_EQ(words, row.words);
        EXPECT_EQ(scene.look(), words.empty() ? states.back() : states.front());
    }
}

TEST(UserFiles, areThoseOfTheirOwnFolder) {
    const Scene scene(registration);
    const Path link = scene.home / "link", unnamed = scene.home / "caf\xE9";
    put(link, "link " + scene.home.string());
    const std::string invalid = "Invalid completed recording name";
    const std::tuple<Path, Path, std::string> rows[] = {
        {scene.home, scene.home / "clip-1.mp4", invalid},
        {scene.home, link / clipName(11), invalid},
        {link, link / clipName(11), linkedFolder}};
    for (const auto& [folder, clip, words] : rows)
        EXPECT_EQ(failureOf([&] { registerCompletedClip(folder, clip); }), words);
    // The user's own links above are followed, but not to a name that the program's texts cannot
    // hold: the folder that they would name instead is another one.
    EXPECT_TRUE(copyClipToClipboard(scene.window.handle, link / clipName(11)));
    EXPECT_EQ(desktop::clipboardBlock(),
              buildDropFiles((scene.home / clipName(11)).string<WCHAR>()));
    setenv("XDG_DATA_HOME", link.c_str(), 1);
    EXPECT_EQ(prepareDataFolder(), scene.home / "Quorvel Desk Clip");
    std::filesystem::create_directory(unnamed);
    put(link, "link " + unnamed.string());
    EXPECT_EQ(failureOf(prepareDataFolder), "Cannot resolve physical clip path");
    setenv("XDG_DATA_HOME", unnamed.c_str(), 1);
    EXPECT_EQ(failureOf(prepareDataFolder), "LocalAppData (0x80070459)");
    put(link, "pipe");
    EXPECT_EQ(failureOf([&] { resolvePhysicalPath(link, true); }),
              "Cannot open completed clip/data folder");
    for (const bool enable : {true, false}) saveStartup(WideText(258, 'x'), enable);
    EXPECT_EQ(failureOf([] { saveStartup(WideText(259, 'x'), true); }),
              "The executable path exceeds the Windows Run command limit. Move it to a shorter "
              "path first.");
}

TEST(UserFiles, areCopiedToAFreeName) {
    Scene scene(change);
    desktop::startCallLog();
    for (int nth = 1; nth <= 32; ++nth) {
        const DWORD code = nth % 2 ? ERROR_FILE_EXISTS : ERROR_ALREADY_EXISTS;
        desktop::planFault({Fault::Fail, "CopyFileW", nth, code});
    }
    EXPECT_EQ(scene.run(change), cannotPrepare);
    desktop::clearFaults();
    const std::vector<std::string> names = person::callsOf("CopyFileW");
    EXPECT_EQ(std::set(names.begin(), names.end()).size(), 32u);
}

}  // namespace
