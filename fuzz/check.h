// What a fuzz target holds to be true; libFuzzer reports the trap with the input that led there.
#pragma once

#define FUZZ_CHECK(condition) ((condition) ? static_cast<void>(0) : __builtin_trap())
