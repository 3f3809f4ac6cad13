#include "common/procedure_guard.h"

#include <windows.h>

#include <exception>
#include <utility>

namespace {

std::exception_ptr keptFailure;

}  // namespace

void keepFailure() noexcept {
    if (!keptFailure) keptFailure = std::current_exception();
    PostQuitMessage(1);
}

void rethrowKeptFailure() {
    if (keptFailure) std::rethrow_exception(std::exchange(keptFailure, nullptr));
}
