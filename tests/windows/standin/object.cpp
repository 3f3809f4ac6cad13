// References and the record.

#include "tests/windows/standin/object.h"

#include <cstdio>
#include <cstdlib>

extern "C" IMAGE_DOS_HEADER __ImageBase;

void drop(Object& object) {
    if (--object.references > 0) return;
    if (object.file) CloseHandle(object.file);
    if (object.held) drop(*object.held);
    delete &object;
}

void append(std::string& line, const GUID& id) {
    char text[40];
    std::snprintf(text, sizeof text, " %08lx-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x", id.Data1,
                  id.Data2, id.Data3, id.Data4[0], id.Data4[1], id.Data4[2], id.Data4[3],
                  id.Data4[4], id.Data4[5], id.Data4[6], id.Data4[7]);
    line += (line.find(' ') == std::string::npos ? "" : ",") + std::string(text);
}

void append(std::string& line, LONGLONG number) {
    line += (line.find(' ') == std::string::npos ? " " : ", ") + std::to_string(number);
}

void writeLine(const std::string& line) {
    static const HANDLE file = CreateFileA(std::getenv("STAND_IN_RECORD"), FILE_APPEND_DATA,
                                           FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                                           FILE_ATTRIBUTE_NORMAL, nullptr);
    DWORD written = 0;
    const std::string whole = line + "\n";
    WriteFile(file, whole.data(), static_cast<DWORD>(whole.size()), &written, nullptr);
}

void requireLibrary(const std::string& library) {
    char path[MAX_PATH]{};
    GetModuleFileNameA(reinterpret_cast<HMODULE>(&__ImageBase), path, MAX_PATH);
    if (!std::string(path).ends_with("\\" + library)) endUnknownOperation();
}

void endUnknownOperation() {
    writeLine("an operation without a stand-in");
    ExitProcess(3);
}
