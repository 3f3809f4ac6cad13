// The ownership ledger, "completed.txt" beside the clips: which files the program made, oldest
// first. What it does not name is not the program's to delete.
//
// Format: ASCII, one clip name a line, CR LF after every line, nothing else. Nothing of it stays in
// memory between registrations. Worker thread only.

#pragma once

#include <deque>
#include <filesystem>
#include <set>

#include "common/wide_text.h"

struct Ledger {
    std::deque<WideText> ownedNames;  // clips that are there as plain files, oldest first
    std::set<WideText> seenNames;     // every valid name listed, whether its file is there or not
};

// Whatever cannot be read, a whole file or a line of it, counts as not there.
Ledger readLedger(const std::filesystem::path& recordingsFolder);

// Replaces the ledger by these names in one step. Throws std::runtime_error; the old ledger is
// then untouched, and "completed.txt.new" may be left over, which the next write deletes.
void writeLedger(const std::filesystem::path& recordingsFolder,
                 const std::deque<WideText>& ownedNames);
