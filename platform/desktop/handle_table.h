// Records behind opaque handles. A number is never given out twice, so a dead handle stays dead.

#pragma once

#include <cstdint>
#include <map>
#include <utility>

namespace desktop {

template <typename Handle, typename Record>
struct HandleTable {
    // Kinds start far apart, so that a handle of one kind is not found among those of another.
    explicit HandleTable(std::uintptr_t first) : next(first) {}

    Handle add(Record record) {
        records.emplace(next, std::move(record));
        return reinterpret_cast<Handle>(next++);
    }
    // Null if there is none. The record stays where it is until it is removed.
    template <typename AnyHandle>
    Record* find(AnyHandle handle) {
        const auto found = records.find(reinterpret_cast<std::uintptr_t>(handle));
        return found == records.end() ? nullptr : &found->second;
    }
    template <typename AnyHandle>
    bool remove(AnyHandle handle) {
        return records.erase(reinterpret_cast<std::uintptr_t>(handle)) != 0;
    }

    std::map<std::uintptr_t, Record> records;

private:
    std::uintptr_t next;
};

}  // namespace desktop
