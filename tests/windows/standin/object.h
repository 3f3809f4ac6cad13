// What the stand-ins return, and the record of what the program does with it.
//
// Every operation writes a line into the file that STAND_IN_RECORD names, in the form of
// tests/capture_road.h: its name and its arguments without the pointers. So does every release,
// with the interface's name.

#pragma once

#define CINTERFACE  // The tables of functions are filled in by hand, with what the program uses.
#include <windows.h>

#include <array>
#include <bit>
#include <fstream>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

// One record for all kinds, so that the copies of this library understand each other's objects.
struct Object {
    const void* table;  // First, as in every published interface.
    std::string interfaceName;
    long references = 1;
    std::string bytes{};
    std::vector<UINT> pixels{};
    UINT number = 0;  // of what is enumerated; polls; a row's pixels
    std::ofstream file{};
};

inline Object& objectOf(void* object) { return *static_cast<Object*>(object); }
bool isLibrary(const std::string& name);  // this one, by its file's name

std::string textOf(const GUID& id);
inline std::string textOf(LONGLONG number) { return std::to_string(number); }
inline std::string textOf(const void*) { return ""; }
HRESULT writeLine(const std::string& operation, const std::vector<std::string>& arguments);

template <typename... Argument>
HRESULT record(const std::string& operation, const Argument&... arguments) {
    return writeLine(operation, {textOf(arguments)...});
}

// Of a function that the program has to look for in `library`.
template <typename... Argument>
HRESULT recordExport(const std::string& library, const std::string& name,
                     const Argument&... arguments) {
    return record(isLibrary(library) ? name : "a wrong library's " + name, arguments...);
}

[[noreturn]] void endUnknownOperation();

// Sets an operation of a table that is recorded and has no other effect.
#define ACCEPT(table, operation)                                                                   \
    table.operation = [](auto*, auto... arguments) -> HRESULT {                                    \
        return record(#operation, arguments...);                                                   \
    }

// A new object, to which the caller has the one reference. It has all the interfaces that the
// program asks for. `fill` sets what is called of this one; anything else ends the process.
template <typename Interface, typename Result, typename Fill>
Object& create(Result** created, Fill fill) {
    using Table = std::remove_cvref_t<decltype(*std::declval<Interface>().lpVtbl)>;
    static const Table table = [&] {
        std::array<void (*)(), sizeof(Table) / sizeof(void*)> entries;
        entries.fill(endUnknownOperation);
        auto filled = std::bit_cast<Table>(entries);
        filled.QueryInterface = [](Interface* self, const IID& id, void** result) -> HRESULT {
            ++objectOf(*result = self).references;
            return record("QueryInterface", id);
        };
        filled.Release = [](Interface* self) -> ULONG {
            record("Release " + objectOf(self).interfaceName);
            if (--objectOf(self).references == 0) delete &objectOf(self);
            return 0;
        };
        fill(filled);
        return filled;
    }();
    const std::string name = typeid(Interface).name();  // after its length
    auto* const object = new Object{&table, name.substr(name.find('I'))};
    *created = reinterpret_cast<Result*>(object);
    return *object;
}
