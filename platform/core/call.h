// What every published operation begins with: call log, planned faults, planned process ends,
// refusals and the last error.

#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <type_traits>

namespace desktop {

std::string describe(const WCHAR* text);    // UTF-8 in quotes, null, or the number of a resource
std::string describe(const void* pointer);  // "set" or "null": addresses differ from run to run
std::string describe(const GUID& id);

template <typename Value>
std::string describeArgument(const Value& value) {
    if constexpr (std::is_enum_v<Value> || std::is_integral_v<Value>)
        return std::to_string(static_cast<std::int64_t>(value));
    else
        return describe(value);
}

// Ends the process with a message on the standard error stream: the program did something that the
// layer does not know, so any result would prove nothing.
[[noreturn]] void refuse(const char* operation, const char* what, std::int64_t value);

// The result of an operation that failed: 0, null or FALSE where the last error says why, or the
// HRESULT.
struct Failure {
    template <typename Result>
    operator Result() const {
        if constexpr (std::is_pointer_v<Result>)
            return nullptr;
        else
            return static_cast<Result>(result);
    }

    HRESULT result;
};

// One call of a published operation, from its first line to its return. An operation first refuses
// what it does not know, then asks for a planned fault, and only then has an effect.
struct Call {
    // `name` is a literal. The arguments go to the call log if it runs; pass none that only receive
    // something.
    template <typename... Arguments>
    explicit Call(const char* name, const Arguments&... given) : operation(name) {
        if (logging()) (note(describeArgument(given)), ...);
        enter();
    }
    ~Call();  // A planned end after the effect happens here.
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    // Refuses bits beyond the known ones.
    void within(const char* what, std::uint64_t value, std::uint64_t known) const {
        if (value & ~known) refuse(what, value);
    }
    // Refuses any value but the known ones.
    template <typename Value, typename... Known>
    void only(const char* what, Value value, Known... known) const {
        if (!(... || (value == static_cast<Value>(known)))) refuse(what, value);
    }
    template <typename Value>
    [[noreturn]] void refuse(const char* what, Value value) const {
        if constexpr (std::is_pointer_v<Value>)
            desktop::refuse(operation, what, reinterpret_cast<std::intptr_t>(value));
        else
            desktop::refuse(operation, what, static_cast<std::int64_t>(value));
    }

    // True if a planned fault makes this call fail. The call then changes nothing and returns its
    // failure result. Planned failures count the calls that ask, so that a sweep meets only
    // operations that can fail; every call that could fail has to ask, whatever else it finds.
    bool struck();
    // The code that the fault names, or `usual` if it names none.
    DWORD code(DWORD usual) const { return plannedCode ? plannedCode : usual; }
    // The result of a failure for code(usual). An HRESULT is the result; any other code becomes the
    // last error.
    Failure fail(DWORD usual) const;

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

}  // namespace desktop
