// The ownership ledger, "completed.txt" beside the clips: which files the program made, oldest
// first. The program deletes no file that it does not name.
//
// Format: ASCII, one clip name a line, CR LF after every line, nothing else. It is read again for
// every registration. Worker thread only.

#pragma once

#include <deque>
#include <filesystem>
#include <set>

#include "common/wide_text.h"

struct Ledger {
    std::deque<WideText> ownedNames;  // clips that exist as plain files, oldest first
    std::set<WideText> seenNames;     // every valid name in the file
};

// A file or a line that cannot be read counts as missing.
Ledger readLedger(const std::filesystem::path& recordingsFolder);

// Replaces the ledger atomically. Throws std::runtime_error; the old ledger is then unchanged, and
// "completed.txt.new" may remain, which the next write deletes.
void writeLedger(const std::filesystem::path& recordingsFolder,
                 const std::deque<WideText>& ownedNames);
