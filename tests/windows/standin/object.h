// What the stand-ins hand out, and the record of what the program does with it.
//
// A stand-in takes the place of a system library in the program's own folder. Every operation
// writes a line into the file that STAND_IN_RECORD names: the object, the operation, its arguments,
// and behind "->" the objects that it hands out. An object's end is the line "name closed".

#pragma once

#include <windows.h>

#include <concepts>
#include <string>
#include <vector>

#include "platform/com/table.h"

// One record for all kinds, so that the copies of this library understand each other's objects.
struct Object {
    const com::Table* table = nullptr;  // First, as in every published interface.
    std::string name;
    long references = 1;
    std::vector<BYTE> bytes;
    DWORD length = 0;
    LONG width = 0, height = 0;
    HANDLE file = nullptr;
    Object* held = nullptr;
};

inline Object* objectOf(const void* object) {
    return static_cast<Object*>(const_cast<void*>(object));
}

void writeLine(const std::string& line);

std::string textOf(const GUID& id);
inline std::string textOf(const std::string& text) { return text; }
inline std::string textOf(const char* text) { return text; }
std::string textOf(const void* object);  // its name, or "null"
template <std::integral Number>
std::string textOf(Number number) {
    return std::to_string(number);
}
template <typename Enumerator>
requires std::is_enum_v<Enumerator> std::string textOf(Enumerator value) {
    return std::to_string(static_cast<int>(value));
}

template <typename First, typename... Part>
void record(const First& first, const Part&... parts) {
    writeLine((textOf(first) + ... + (" " + textOf(parts))));
}

// Whether STAND_IN_REFUSES names this operation and it has not been refused yet.
bool refuses(const char* operation);

ULONG addReference(void* self);
ULONG release(void* self);
HRESULT refuseInterface(void* self, const IID& id, void** result);

template <typename Interface, typename Object = void>
com::Table makeTable(HRESULT (*query)(Object*, const IID&, void**) = refuseInterface) {
    return com::Table::of<Interface>(query, addReference, release);
}

// A new object of that kind, named by kind and number; the caller has the one reference.
Object* makeObject(const char* kind, const com::Table& table);

template <typename Interface>
Object* handOut(const char* kind, const com::Table& table, Interface** result) {
    Object* const object = makeObject(kind, table);
    *result = reinterpret_cast<Interface*>(object);
    return object;
}
