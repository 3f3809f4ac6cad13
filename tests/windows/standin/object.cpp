// Names, references and the record.

#include "tests/windows/standin/object.h"

#include <cstdio>
#include <cstdlib>
#include <map>

void writeLine(const std::string& line) {
    static const HANDLE file = CreateFileA(std::getenv("STAND_IN_RECORD"), FILE_APPEND_DATA,
                                           FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                                           FILE_ATTRIBUTE_NORMAL, nullptr);
    DWORD written = 0;
    const std::string whole = line + "\n";
    WriteFile(file, whole.data(), static_cast<DWORD>(whole.size()), &written, nullptr);
}

std::string textOf(const GUID& id) {
    char text[40];
    std::snprintf(text, sizeof text, "%08lx-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x", id.Data1,
                  id.Data2, id.Data3, id.Data4[0], id.Data4[1], id.Data4[2], id.Data4[3],
                  id.Data4[4], id.Data4[5], id.Data4[6], id.Data4[7]);
    return text;
}

std::string textOf(const void* object) { return object ? objectOf(object)->name : "null"; }

bool refuses(const char* operation) {
    static bool refused = false;
    const char* const wanted = std::getenv("STAND_IN_REFUSES");
    if (refused || !wanted || std::string(wanted) != operation) return false;
    return refused = true;
}

void com::stopAtSlot(const char* interfaceName, std::size_t slot) {
    record(interfaceName, "has no stand-in for its operation", slot);
    ExitProcess(3);
}

ULONG addReference(void* self) { return static_cast<ULONG>(++objectOf(self)->references); }

ULONG release(void* self) {
    Object* const object = objectOf(self);
    if (--object->references > 0) return static_cast<ULONG>(object->references);
    record(self, "closed");
    if (object->file) CloseHandle(object->file);
    if (object->held) release(object->held);
    delete object;
    return 0;
}

HRESULT refuseInterface(void* self, const IID& id, void** result) {
    record(self, "QueryInterface", id, "-> null");
    *result = nullptr;
    return E_NOINTERFACE;
}

Object* makeObject(const char* kind, const com::Table& table) {
    static std::map<std::string, int> numbers;
    auto* const object = new Object;
    object->table = &table;
    object->name = kind + std::to_string(++numbers[kind]);
    return object;
}
