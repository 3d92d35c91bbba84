#include "highLevel/src/band/band_meeting.h"

#include <unistd.h>

#include "libCore/core/source/frame/band_threads.h"

namespace eis {

std::atomic<int32_t> g_nrBandDone{0};
std::atomic<int32_t> g_nrLumaDone{0};
std::atomic<int32_t> g_nrBandRun{0};
pthread_mutex_t g_nrBandMutex;

bool BeginBands() {
    g_nrBandDone = 0;
    g_nrLumaDone = 0;
    g_nrBandRun = 1;
    if (pthread_mutex_init(&g_nrBandMutex, nullptr) == 0) return true;
    g_nrBandRun = 0;
    return false;
}

void EndBands() {
    g_nrBandRun = 0;
    pthread_mutex_destroy(&g_nrBandMutex);
}

void CountBands(std::atomic<int32_t>& counter, int32_t bands) {
    pthread_mutex_lock(&g_nrBandMutex);
    counter.fetch_add(bands, std::memory_order_release);
    pthread_mutex_unlock(&g_nrBandMutex);
}

void AwaitBands(const std::atomic<int32_t>& counter) {
    while (g_nrBandRun.load(std::memory_order_relaxed) != 0 && counter.load(std::memory_order_acquire) < kBands) {
        usleep(1);
    }
}

}  // namespace eis
