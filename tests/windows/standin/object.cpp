// The record.

#include "tests/windows/standin/object.h"

#include <cstdio>
#include <cstdlib>

extern "C" IMAGE_DOS_HEADER __ImageBase;

std::string textOf(const GUID& id) {
    char text[40];
    std::snprintf(text, sizeof text, "%08lx-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x", id.Data1,
                  id.Data2, id.Data3, id.Data4[0], id.Data4[1], id.Data4[2], id.Data4[3],
                  id.Data4[4], id.Data4[5], id.Data4[6], id.Data4[7]);
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
