// The rule of retention, written once more over the contents of a folder, for tests to compare
// with.

#pragma once

#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "tests/scratch.h"

// Everything in a folder by name: "file" and its bytes, "link" and its target, or "folder".
using Disk = std::map<std::string, std::string>;

inline Disk contentsOf(const Path& folder) {
    Disk disk;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        std::string& item = disk[entry.path().filename().string()];
        if (entry.is_symlink())
            item = "link " + std::filesystem::read_symlink(entry.path()).string();
        else
            item = entry.is_directory() ? "folder" : "file " + readFile(entry.path());
    }
    return disk;
}

inline bool isFile(const Disk& disk, const std::string& name) {
    const auto found = disk.find(name);
    return found != disk.end() && found->second.starts_with("file ");
}

inline std::vector<std::string> ownedIn(const Disk& disk) {
    static const std::regex form("clip-[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}\\.mp4");
    std::vector<std::string> owned;
    std::set<std::string> seen;
    if (!isFile(disk, "completed.txt")) return owned;
    std::istringstream lines(disk.at("completed.txt").substr(5));
    for (std::string line; std::getline(lines, line);) {
        if (line.ends_with('\r') && !lines.eof()) line.pop_back();
        if (std::regex_match(line, form) && seen.insert(line).second && isFile(disk, line))
            owned.push_back(line);
    }
    return owned;
}

// What the disk holds after each lasting step of the registration of a clip that is there; `inUse`
// cannot be deleted and ends it.
inline std::vector<Disk> stepsOfRegistration(Disk disk, const std::string& clip,
                                             const std::string& inUse = {}) {
    std::vector<Disk> steps;
    std::vector<std::string> owned = ownedIn(disk);
    if (!std::count(owned.begin(), owned.end(), clip)) owned.push_back(clip);
    const auto list = [&] {
        std::string& text = disk["completed.txt"] = "file ";
        for (const std::string& name : owned) text += name + "\r\n";
        steps.push_back(disk);
    };
    disk.erase("completed.txt.new");
    list();
    for (; owned.size() > 5; owned.erase(owned.begin())) {
        if (owned.front() == inUse) return steps;
        disk.erase(owned.front());
        steps.push_back(disk);
    }
    list();
    return steps;
}
