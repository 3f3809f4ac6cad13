#include "tests/windows/standin/object.h"

#include <cstdio>
#include <cstdlib>

extern "C" IMAGE_DOS_HEADER __ImageBase;

std::string textOf(const GUID& id) {
    // As long as the whole; its first group tells it from all others.
    char text[40];
    std::snprintf(text, sizeof text, "%08lx-%27s", id.Data1, "");
    return text;
}

HRESULT writeLine(const std::string& operation, const std::vector<std::string>& arguments) {
    static std::ofstream file(std::getenv("STAND_IN_RECORD"), std::ios::app);
    std::string line = operation, separator = " ";
    for (const std::string& argument : arguments)
        if (!argument.empty()) line += std::exchange(separator, ", ") + argument;
    file << line + '\n' << std::flush;
    return S_OK;
}

bool isLibrary(const std::string& name) {
    char path[MAX_PATH]{};
    GetModuleFileNameA(reinterpret_cast<HMODULE>(&__ImageBase), path, MAX_PATH);
    return std::string(path).ends_with("\\" + name);
}

void endUnknownOperation() {
    record("an operation without a stand-in");
    ExitProcess(3);
}
