// One recording to its end, whatever that is, on the embedded desktop.

#pragma once

#include <map>

#include "demo/person.h"
#include "platform/control.h"
#include "tests/scenarios/native.h"

namespace user {

using person::callsOf;

// Calls whose failure may leave the user without a sheet, a notice or an answer to Esc, as on
// Windows: a try that met one is given up.
bool isOutOfSight(const std::string& operation);

// One short recording of (100, 100, 420, 340).
struct Outcome {
    std::optional<Path> clip;          // new in the folder
    std::vector<std::string> notices;  // since the shortcut
};
Outcome recordOneClip(int samples = 1);  // at least so many before Esc

bool isPartialFileLeft();

}  // namespace user
