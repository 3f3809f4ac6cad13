// The doorway of every published operation: the call log, planned faults and planned process ends
// stand here.

#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <type_traits>

namespace desktop {

std::string describe(const WCHAR* text);    // UTF-8 in quotes, null, or the number of a resource
std::string describe(const char* text);     // in quotes, or null
std::string describe(const void* pointer);  // "set" or "null": addresses differ from run to run
std::string describe(const GUID& id);
std::string describeNumber(std::int64_t number);

template <typename Value>
std::string describeArgument(const Value& value) {
    if constexpr (std::is_enum_v<Value> || std::is_integral_v<Value>)
        return describeNumber(static_cast<std::int64_t>(value));
    else
        return describe(value);
}

// One call of a published operation, from its first line to its return.
struct Call {
    // `name` is a literal. The arguments go to the call log if it runs: not those that only receive
    // something.
    template <typename... Arguments>
    explicit Call(const char* name, const Arguments&... given) : operation(name) {
        if (logging()) (note(describeArgument(given)), ...);
        enter();
    }
    ~Call();  // A planned end after the effect happens here.
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    // True if a planned fault wants this call to fail. The call then changes nothing and gives its
    // failure result. Planned failures count the calls that ask, so that a sweep meets only
    // operations that can fail; ask in every call that could, whatever else it finds out.
    bool struck();
    // The code that the fault names, or `usual` if it names none.
    DWORD code(DWORD usual) const { return plannedCode ? plannedCode : usual; }
    HRESULT result(HRESULT usual) const {
        return static_cast<HRESULT>(code(static_cast<DWORD>(usual)));
    }
    // Sets the last error to code(usual); the result is 0, which serves as FALSE.
    int fail(DWORD usual) const;

private:
    static bool logging();
    void note(std::string argument);
    void enter();  // Logs the call, stalls or ends the process where that is planned.

    const char* operation;
    std::string arguments;
    DWORD plannedCode = 0;
    bool asked = false;
    bool fails = false;
    bool endsAfter = false;
};

// Logs that the program releases a reference. Nothing can be planned for it.
void logRelease(const char* interfaceName);

// Ends the process with a message on the standard error stream: the program asked for something
// that the layer does not know, so going on would prove nothing.
[[noreturn]] void refuse(const char* operation, const char* what, std::int64_t value);

}  // namespace desktop
