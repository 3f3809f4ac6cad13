// What the program holds open: counted by kind, and by its opaque handles.

#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <utility>

namespace desktop {

// The kind's name is a literal. Callable from any thread.
void opened(const char* kind);
void closed(const char* kind);

// Records with opaque handles, for any thread. A number is never used twice, so a dead handle stays
// dead.
template <typename Handle, typename Record>
struct HandleTable {
    // Kinds start far apart, so that a handle of one kind is not found among those of another. Each
    // record counts as an open object of `counted`, if that is given.
    explicit HandleTable(std::uintptr_t first, const char* counted = nullptr)
        : kind(counted), next(first) {}

    Handle add(Record record) {
        const std::lock_guard lock(guard);
        records.emplace(next, std::move(record));
        if (kind) opened(kind);
        return reinterpret_cast<Handle>(next++);
    }
    // Null if there is none. The record keeps its address until it is removed.
    template <typename AnyHandle>
    Record* find(AnyHandle handle) {
        const std::lock_guard lock(guard);
        const auto found = records.find(reinterpret_cast<std::uintptr_t>(handle));
        return found == records.end() ? nullptr : &found->second;
    }
    template <typename AnyHandle>
    bool remove(AnyHandle handle) {
        const std::lock_guard lock(guard);
        if (!records.erase(reinterpret_cast<std::uintptr_t>(handle))) return false;
        if (kind) closed(kind);
        return true;
    }

    std::map<std::uintptr_t, Record> records;

private:
    std::mutex guard;
    const char* const kind;
    std::uintptr_t next;
};

}  // namespace desktop
