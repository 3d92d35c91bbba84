// What every fuzz target has once: what it holds to be true, where libFuzzer reports the trap with the input that led
// there, and a limit to the memory that its sanitizer keeps.
#pragma once

#define FUZZ_CHECK(condition) ((condition) ? static_cast<void>(0) : __builtin_trap())

// Freed blocks wait in a quarantine. Its usual 256 MB would be most of what a target takes.
extern "C" const char* __asan_default_options() {
    return "quarantine_size_mb=16";
}
