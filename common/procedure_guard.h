// Keeps exceptions out of the platform's callbacks.

#pragma once

// An exception that leaves a window, dialog or hook procedure is lost, because the platform's own
// frames are between it and the message loop. So the procedure's body runs in `guarded`, which
// keeps the first exception and posts WM_QUIT. After the loop, rethrowKeptFailure throws it.
// User-interface thread only. Hook procedures without a call that can throw are noexcept instead.

// Keeps the exception that is being handled, unless one is already kept, and posts WM_QUIT.
void keepFailure() noexcept;

// Throws the kept exception, if any.
void rethrowKeptFailure();

// Returns the result of `work`, or `fallback` if it throws.
template <typename Result, typename Work>
Result guarded(Result fallback, const Work& work) noexcept {
    try {
        return work();
    } catch (...) {
        keepFailure();
        return fallback;
    }
}
