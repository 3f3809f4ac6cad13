// A folder of its own for a test, short words for the files in it, for failures and for windows.
// Published names and the standard library only, so that it serves both builds.

#pragma once

#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "common/handle.h"

using Path = std::filesystem::path;

// Under a free name: what a killed test of the same process number left is not the test's own.
struct ScratchFolder {
    explicit ScratchFolder(const Path& parent = std::filesystem::temp_directory_path()) {
        static int number = 0;
        do
            path = parent / ("scratch " + std::to_string(GetCurrentProcessId()) + " " +
                             std::to_string(++number));
        while (!std::filesystem::create_directory(path));
    }
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    Path path;
};

inline void writeFile(const Path& file, std::string_view bytes) {
    std::ofstream(file, std::ios::binary) << bytes;
}

inline std::string readFile(const Path& file) {
    std::ifstream input(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(input), {}};
}

inline std::vector<std::string> namesIn(const Path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

// The words of the failure; empty if there was none.
template <typename Action>
std::string failureOf(Action action) {
    try {
        action();
    } catch (const std::exception& failure) {
        return failure.what();
    }
    return {};
}

// Opens a file as a player does, which lets others only read it; null if that is refused.
inline Handle play(const Path& file) {
    return ownHandle(CreateFileW(file.string<WCHAR>().c_str(), GENERIC_READ, FILE_SHARE_READ,
                                 nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

// Valid clip names in an order of our own: 1, 2, 3, …
inline std::string clipName(int number) {
    const std::string digits = std::to_string(number);
    return "clip-00000000-0000-4000-8000-" + std::string(12 - digits.size(), '0') + digits + ".mp4";
}

inline std::string ledgerOf(const std::vector<int>& numbers) {
    std::string lines;
    for (const int number : numbers) lines += clipName(number) + "\r\n";
    return lines;
}

inline void makeClips(const Path& folder, const std::vector<int>& numbers) {
    for (const int number : numbers) writeFile(folder / clipName(number), std::to_string(number));
}

// A hidden window, of a class of that name, which may be there already.
inline HWND makeWindow(const WCHAR* name, WNDPROC procedure = DefWindowProcW, DWORD style = 0) {
    WNDCLASSW description{};
    description.lpfnWndProc = procedure;
    description.lpszClassName = name;
    RegisterClassW(&description);
    return CreateWindowExW(style, name, name, WS_POPUP, 0, 0, 0, 0, nullptr, nullptr, nullptr,
                           nullptr);
}

// Stands for the tray window: it owns shortcuts and the clipboard.
struct TrayWindow {
    TrayWindow() = default;
    ~TrayWindow() { DestroyWindow(handle); }
    TrayWindow(const TrayWindow&) = delete;
    TrayWindow& operator=(const TrayWindow&) = delete;

    HWND handle = makeWindow(TEXT("TestTrayWindow"));
};
