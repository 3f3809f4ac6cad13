// Call log, planned faults, planned ends, and the last error of each thread.
//
// Planned failures are counted where an operation asks for them; stalls and ends where it begins.
// In everyday use, with nothing planned and no log running, a call costs a few atomic reads.

#include "platform/core/call.h"

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "platform/control.h"
#include "platform/core/text.h"

namespace desktop {

namespace {

struct Plan {
    Fault fault;
    int seen = 0;
};

std::atomic<bool> logRuns = false;
std::atomic<bool> anythingPlanned = false;
thread_local DWORD lastError = ERROR_SUCCESS;

std::mutex guard;  // of everything below
std::condition_variable cleared;
std::vector<LoggedCall> log;
std::vector<Plan> plans;
unsigned clearings = 0;
std::string firstStruck;

bool isDue(Plan& plan, const char* operation) {
    if (!plan.fault.operation.empty() && plan.fault.operation != operation) return false;
    ++plan.seen;
    return plan.seen == plan.fault.nth || (plan.fault.andAllLater && plan.seen > plan.fault.nth);
}

std::int64_t now() {
    const auto time = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(time).count();
}

}  // namespace

std::string describe(const WCHAR* text) {
    if (!text) return "null";
    if (IS_INTRESOURCE(text)) return std::to_string(reinterpret_cast<std::uintptr_t>(text));
    return '"' + toUtf8(text) + '"';
}

std::string describe(const void* pointer) { return pointer ? "set" : "null"; }

std::string describe(const GUID& id) {
    char text[37];
    const auto* const last = id.Data4;
    std::snprintf(text, sizeof text, "%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x",
                  static_cast<unsigned>(id.Data1), id.Data2, id.Data3, last[0], last[1], last[2],
                  last[3], last[4], last[5], last[6], last[7]);
    return text;
}

Call::~Call() {
    if (endsAfter) _exit(plannedEndCode);
}

bool Call::struck() {
    if (asked || !anythingPlanned) return fails;
    asked = true;
    const std::lock_guard lock(guard);
    for (Plan& plan : plans) {
        if (plan.fault.kind != Fault::Fail || !isDue(plan, operation) || fails) continue;
        fails = true;
        plannedCode = plan.fault.code;
        if (firstStruck.empty()) firstStruck = operation;
    }
    return fails;
}

Failure Call::fail(DWORD usual) const {
    if (FAILED(static_cast<HRESULT>(usual))) return {static_cast<HRESULT>(code(usual))};
    lastError = code(usual);
    return {0};
}

bool Call::logging() { return logRuns; }

void Call::note(std::string argument) {
    if (!arguments.empty()) arguments += ", ";
    arguments += argument;
}

void Call::enter() {
    if (!logRuns && !anythingPlanned) return;
    std::unique_lock lock(guard);
    if (logRuns)
        log.push_back({operation, std::move(arguments), now(), std::this_thread::get_id()});
    bool stalls = false;
    for (Plan& plan : plans) {
        if (plan.fault.kind == Fault::Fail || !isDue(plan, operation)) continue;
        if (plan.fault.kind == Fault::EndBefore) _exit(plannedEndCode);
        if (plan.fault.kind == Fault::EndAfter) endsAfter = true;
        if (plan.fault.kind == Fault::Stall) stalls = true;
    }
    if (!stalls) return;
    if (firstStruck.empty()) firstStruck = operation;
    const unsigned before = clearings;
    cleared.wait(lock, [before] { return clearings != before; });
}

void logRelease(const char* interfaceName) {
    if (!logRuns) return;
    const std::lock_guard lock(guard);
    log.push_back({"Release", interfaceName, now(), std::this_thread::get_id()});
}

void refuse(const char* operation, const char* what, std::int64_t value) {
    std::fprintf(stderr, "%s: the layer does not know this %s: %lld (0x%llx)\n", operation, what,
                 static_cast<long long>(value), static_cast<unsigned long long>(value));
    std::abort();
}

void startCallLog() {
    const std::lock_guard lock(guard);
    log.clear();
    logRuns = true;
}

std::vector<LoggedCall> callLog() {
    const std::lock_guard lock(guard);
    return log;
}

void planFault(const Fault& fault) {
    const std::lock_guard lock(guard);
    plans.push_back({fault});
    anythingPlanned = true;
}

void clearFaults() {
    const std::lock_guard lock(guard);
    plans.clear();
    firstStruck.clear();
    anythingPlanned = false;
    ++clearings;
    cleared.notify_all();
}

bool faultStruck() { return !struckCall().empty(); }

std::string struckCall() {
    const std::lock_guard lock(guard);
    return firstStruck;
}

}  // namespace desktop

DWORD GetLastError() { return desktop::lastError; }

void SetLastError(DWORD code) { desktop::lastError = code; }
