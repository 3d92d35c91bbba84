// How functions stay in the shared library: exported, or kept for callers that are still to come.
#pragma once

#define EIS_EXPORT extern "C" __attribute__((visibility("default")))

// A function that nothing in the library calls and that is not exported, which the linker must not drop.
#define EIS_KEEP __attribute__((used, retain))
