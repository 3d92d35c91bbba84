// Random delays in the workers of the denoise stages.
#pragma once

#include <cstdint>

namespace eis::test {

// While one lives, every call of a few kernels (those that CMakeLists.txt wraps) takes its time at random. One at a
// time.
class RandomDelays {
  public:
    explicit RandomDelays(uint64_t seed);
    RandomDelays(const RandomDelays&) = delete;
    RandomDelays& operator=(const RandomDelays&) = delete;
    ~RandomDelays();
};

// How often a run with random delays is repeated: often, unless the machine is emulated or the program instrumented.
#if defined(__aarch64__) || defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr int kDelayedRuns = 20;
#else
inline constexpr int kDelayedRuns = 1000;
#endif

}  // namespace eis::test
