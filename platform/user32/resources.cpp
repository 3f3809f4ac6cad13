// Finds a resource in the compiled block.
//
// An entry is: size of the data, size of the header, type, name (each 0xFFFF and a number, or text
// up to a zero), padding, sixteen bytes of no interest here, the data, padding. Everything starts
// at a multiple of four.

#include "platform/user32/resources.h"

#include <cstring>

namespace user32 {

namespace {

using Bytes = std::span<const std::uint8_t>;

template <typename Number>
Number numberAt(Bytes bytes, std::size_t at) {
    Number number{};
    if (at + sizeof number <= bytes.size()) std::memcpy(&number, bytes.data() + at, sizeof number);
    return number;
}

std::size_t padded(std::size_t at) { return (at + 3) & ~std::size_t{3}; }

// Reads a type or name and moves `at` behind it; 0 for one that is text.
std::uint16_t takeName(Bytes bytes, std::size_t& at) {
    if (numberAt<std::uint16_t>(bytes, at) == 0xFFFF) {
        at += 4;
        return numberAt<std::uint16_t>(bytes, at - 2);
    }
    while (at + 2 <= bytes.size() && numberAt<std::uint16_t>(bytes, at) != 0) at += 2;
    at += 2;
    return 0;
}

}  // namespace

std::optional<Bytes> findResource(const WCHAR* type, std::uintptr_t id) {
    const Bytes block(resourceBlock, resourceBlockSize);
    for (std::size_t at = 0; at + 8 <= block.size();) {
        const std::size_t size = numberAt<std::uint32_t>(block, at);
        const std::size_t data = at + numberAt<std::uint32_t>(block, at + 4);
        if (data <= at || data + size > block.size()) break;
        std::size_t name = at + 8;
        const std::uint16_t entryType = takeName(block, name);
        const std::uint16_t entryId = takeName(block, name);
        if (entryType == reinterpret_cast<std::uintptr_t>(type) && entryId == id)
            return block.subspan(data, size);
        at = padded(data + size);
    }
    return std::nullopt;
}

}  // namespace user32
