// The rule of retention, told once more over a plain picture of a folder, for tests to compare
// with.

#pragma once

#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/scratch.h"

// Everything in a folder by name: "file" and its bytes, "link" and its target, or "folder".
using Disk = std::map<std::string, std::string>;

inline Disk pictureOf(const Path& folder) {
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

inline std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        if (!line.empty() && line.back() == '\r' && !stream.eof()) line.pop_back();
        lines.push_back(line);
    }
    return lines;
}

inline bool isFile(const Disk& disk, const std::string& name) {
    const auto found = disk.find(name);
    return found != disk.end() && found->second.starts_with("file ");
}

inline std::vector<std::string> ownedIn(const Disk& disk) {
    static const std::regex form("clip-[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}\\.mp4");
    std::vector<std::string> owned;
    std::set<std::string> seen;
    if (isFile(disk, "completed.txt"))
        for (const std::string& line : linesOf(disk.at("completed.txt").substr(5)))
            if (std::regex_match(line, form) && seen.insert(line).second && isFile(disk, line))
                owned.push_back(line);
    return owned;
}

inline void list(Disk& disk, const std::vector<std::string>& names) {
    std::string text = "file ";
    for (const std::string& name : names) text += name + "\r\n";
    disk["completed.txt"] = text;
}

// What the disk holds after each lasting step of the registration of a clip that is there and not
// yet listed; `inUse` cannot be deleted and ends it.
inline std::vector<Disk> stepsOfRegistration(Disk disk, const std::string& clip,
                                             const std::string& inUse = {}) {
    std::vector<Disk> steps;
    const auto done = [&] { steps.push_back(disk); };
    std::vector<std::string> owned = ownedIn(disk);
    owned.push_back(clip);
    list(disk, owned);
    disk.erase("completed.txt.new");
    done();
    for (; owned.size() > 5; owned.erase(owned.begin()), done()) {
        if (owned.front() == inUse) return steps;
        disk.erase(owned.front());
    }
    list(disk, owned);
    done();
    return steps;
}
