// One instance for each logon session, and what a second start does.

#pragma once

#include "common/handle.h"

// The name stands for as long as the handle is open: hold it to the very end of the process.
struct InstanceClaim {
    Handle mutex;  // null: the check could not be made
    bool isFirst = false;
};

InstanceClaim claimInstance();

// Asks the first instance to open its settings dialog, for up to two seconds, and tells the user if
// it cannot be reached.
void handOverToFirstInstance();

// Tells the user that the check could not be made.
void showInstanceCheckFailure();
