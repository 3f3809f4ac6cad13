// Registry keys as folders and values as files.

#pragma once

#include <windows.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace advapi32 {

struct Value {
    DWORD type = 0;
    std::vector<BYTE> bytes;
};

// The folder of a key below the user's root, whose path has backslashes. Names compare without
// case.
std::filesystem::path keyFolder(LPCWSTR path);
// The file of a value. Names that a file cannot have stop the process.
std::filesystem::path valueFile(const std::filesystem::path& key, LPCWSTR name);

std::optional<Value> readValue(const std::filesystem::path& file);
// False if it could not be written; the old value is whole then.
bool writeValue(const std::filesystem::path& file, const Value& value);

// Writes the file as a whole or not at all.
bool replaceFile(const std::filesystem::path& file, const std::string& bytes);

}  // namespace advapi32
