// Keeps exceptions out of the platform's callbacks.

#pragma once

// An exception that leaves a window, dialog or hook procedure is lost: the platform's own frames
// lie between it and the message loop. So the procedure's body runs inside `guarded`; the first
// failure is kept, the loop is told to end, and whoever runs the loop calls rethrowKeptFailure
// behind it. User-interface thread only. Hook procedures that make no call that can throw are
// declared noexcept and do without.

// Keeps the exception being handled, unless one is kept already, and posts the quit.
void keepFailure() noexcept;

// Throws what was kept; does nothing if there is nothing.
void rethrowKeptFailure();

// What `work` returns, or `fallback` if it throws.
template <typename Result, typename Work>
Result guarded(Result fallback, const Work& work) noexcept {
    try {
        return work();
    } catch (...) {
        keepFailure();
        return fallback;
    }
}
