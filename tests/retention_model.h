// The rule of retention, written once more over the contents of a folder.

#pragma once

#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "tests/scratch.h"

// Thousands of writes through to the disk cost nothing here.
inline const Path memory = "/dev/shm";

// Everything below a folder by name: "file" and its bytes, "link" and its target, "folder", "pipe".
using Disk = std::map<std::string, std::string>;

inline Disk contentsOf(const Path& folder) {
    Disk disk;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        std::string& item = disk[entry.path().lexically_relative(folder).generic_string()];
        if (entry.is_symlink())
            item = "link " + std::filesystem::read_symlink(entry.path()).string();
        else if (entry.is_regular_file())
            item = "file " + readFile(entry.path());
        else
            item = entry.is_directory() ? "folder" : "pipe";
    }
    return disk;
}

inline bool isFile(const Disk& disk, const std::string& name) {
    return disk.contains(name) && disk.at(name).starts_with("file ");
}

inline bool isClipName(const std::string& name) {
    static const std::regex form("clip-[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}\\.mp4");
    return std::regex_match(name, form);
}

inline std::vector<std::string> ownedIn(const Disk& disk) {
    std::vector<std::string> owned;
    if (!isFile(disk, "completed.txt")) return owned;
    // A text ends at Ctrl+Z, like a file whose last line has no end.
    const std::string& text = disk.at("completed.txt");
    std::istringstream lines(text.substr(5, text.find('\x1A') - 5));
    for (std::string line; std::getline(lines, line);) {
        if (line.ends_with('\r') && !lines.eof()) line.pop_back();
        if (isClipName(line) && isFile(disk, line) && std::ranges::find(owned, line) == owned.end())
            owned.push_back(line);
    }
    return owned;
}

// What the disk holds before the registration of a clip that is there and after each lasting step.
inline std::vector<Disk> stepsOfRegistration(Disk disk, const std::string& clip) {
    disk.erase("completed.txt.new");
    std::vector<Disk> steps{disk};
    std::vector<std::string> owned = ownedIn(disk);
    if (std::ranges::find(owned, clip) == owned.end()) owned.push_back(clip);
    const auto list = [&] {
        std::string& text = disk["completed.txt"] = "file ";
        for (const std::string& name : owned) text += name + "\r\n";
        steps.push_back(disk);
    };
    list();
    for (; owned.size() > 5; owned.erase(owned.begin())) {
        disk.erase(owned.front());
        steps.push_back(disk);
    }
    list();
    return steps;
}
