// The full disk that control.h can plan.

#pragma once

#include <cstdint>

namespace desktop {

// The most bytes that a file of the sink writer may get; -1: no limit. Any thread.
std::int64_t diskLimit();

}  // namespace desktop
