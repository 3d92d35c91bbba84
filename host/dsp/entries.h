// The entries that take a block, by name.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "acore_api.h"

namespace eishost {

struct Entry {
    const char* name;
    std::size_t blockBytes;
    // Calls the function at `symbol` with a block of the entry's type.
    ret_status (*callAt)(void* symbol, void* block);
    void* linked;          // the function in the library that the program is linked with
    bool usesFilesByName;  // reads or writes whatever file a path in device memory names
};

// In the order of the public header.
std::span<const Entry> blockEntries();

// The one whose linked function is at `symbol`.
const Entry& entryAt(void* symbol);

// Null for a name that is no such entry's.
const Entry* findEntry(std::string_view name);

}  // namespace eishost
