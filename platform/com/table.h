// Builds COM objects as the SDK publishes them: a record that starts with the address of a table of
// functions.
//
// The SDK's interfaces have up to 120 virtual functions, of which the program calls a few. A class
// of C++ would have to define them all; a table is filled for the ones in use. Both compilers order
// virtual functions by the Itanium C++ ABI: a call takes the entry from the object's table and
// passes the object as the first argument, and a pointer to a virtual function holds the entry's
// offset.

#pragma once

#include <windows.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <utility>

namespace com {

// Ends the process: the program has called an entry that is not filled.
[[noreturn]] void stopAtSlot(const char* interfaceName, std::size_t slot);

struct Table {
    // The compiler's own name of a type at file level: its length, then its letters.
    explicit Table(const char* typeName)
        : interfaceName(typeName + std::strspn(typeName, "0123456789")) {}

    // Calls of the published method go to that function of the object.
    template <auto published, auto function>
    void set() {
        setEntry<function>(published, function);
    }

    using Slot = void (*)();
    std::array<Slot, 128> slots = unfilled(std::make_index_sequence<128>());
    const char* interfaceName;

private:
    template <auto function, typename Result, typename Interface, typename Object,
              typename... Arguments>
    void setEntry(Result (Interface::*published)(Arguments...), Result (Object::*)(Arguments...)) {
        auto* const entry = +[](Object* object, Arguments... arguments) {
            return (object->*function)(arguments...);
        };
        // On some processors the lowest bit is set, which tells a virtual function from others.
        const auto words = std::bit_cast<std::array<std::size_t, 2>>(published);
        slots.at(words[0] / sizeof(Slot)) = reinterpret_cast<Slot>(entry);
    }

    template <std::size_t slot>
    static void stop(const Table* const* object) {
        stopAtSlot((*object)->interfaceName, slot);
    }

    template <std::size_t... slot>
    static std::array<Slot, sizeof...(slot)> unfilled(std::index_sequence<slot...>) {
        return {reinterpret_cast<Slot>(stop<slot>)...};
    }
};

}  // namespace com
