// Where the four bands of the high-level stage meet. Process-wide: two calls of the stage must not overlap.
#pragma once

#include <pthread.h>

#include <atomic>
#include <cstdint>

namespace eis {

extern std::atomic<int32_t> g_nrBandDone;  // bands that have filtered chroma, or failed
extern std::atomic<int32_t> g_nrLumaDone;  // bands that need no more of the luma that came
extern std::atomic<int32_t> g_nrBandRun;   // 1 while the stage is alive
extern pthread_mutex_t g_nrBandMutex;      // both counters rise under it

// Sets the counters up and initialises the mutex; false when that fails.
[[nodiscard]] bool BeginBands();
void EndBands();

void CountBands(std::atomic<int32_t>& counter, int32_t bands = 1);
// Until all four are counted.
void AwaitBands(const std::atomic<int32_t>& counter);

}  // namespace eis
