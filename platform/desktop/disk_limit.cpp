// The full disk that control.h can plan.

#include "platform/desktop/disk_limit.h"

#include <atomic>

#include "platform/control.h"

namespace desktop {

namespace {

std::atomic<std::int64_t> limit{-1};

}  // namespace

std::int64_t diskLimit() { return limit; }

void limitDisk(std::int64_t bytes) { limit = bytes; }

}  // namespace desktop
