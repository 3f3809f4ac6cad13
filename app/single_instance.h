// One instance for each logon session, and what a second start does.

#pragma once

#include "common/handle.h"

// The mutex's name exists while the handle is open: keep it until the process ends.
struct InstanceClaim {
    Handle mutex;  // null: the check failed
    bool isFirst = false;
};

InstanceClaim claimInstance();

// Requests the settings dialog of the first instance, trying for up to two seconds. Shows a message
// box if the first instance does not answer.
void handOverToFirstInstance();

// Shows the message box for a failed check.
void showInstanceCheckFailure();
