// One line of the parity table.

#pragma once

struct Row {
    char name[80];
    unsigned long long value, more;  // `more` is the second half of an identifier
};
