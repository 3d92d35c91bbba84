#include "tests/denoise/delays.h"

#include <unistd.h>

#include <atomic>

namespace eis::test {

namespace {

std::atomic<uint64_t> g_state{0};  // 0: no delays

void delay() {
    if (g_state.load(std::memory_order_relaxed) == 0) return;
    uint64_t bits = g_state.fetch_add(0x9E3779B97F4A7C15u, std::memory_order_relaxed);
    bits = (bits ^ bits >> 30) * 0xBF58476D1CE4E5B9u;
    bits = (bits ^ bits >> 27) * 0x94D049BB133111EBu;
    // Half of the calls go on at once, the others wait for up to 255 microseconds.
    if ((bits >> 63) == 0) usleep(static_cast<useconds_t>(bits >> 32 & 255));
}

}  // namespace

RandomDelays::RandomDelays(uint64_t seed) {
    g_state = seed | 1;
}
RandomDelays::~RandomDelays() {
    g_state = 0;
}

}  // namespace eis::test

using eis::test::delay;

// The kernels' names are those of the linker: see CMakeLists.txt.
extern "C" {

void __real__ZN3eis15ChromaMagnitudeEPKhS1_Phiii(const uint8_t*, const uint8_t*, uint8_t*, int, int, int);
void __wrap__ZN3eis15ChromaMagnitudeEPKhS1_Phiii(const uint8_t* u, const uint8_t* v, uint8_t* out, int width,
                                                 int height, int stride) {
    delay();
    __real__ZN3eis15ChromaMagnitudeEPKhS1_Phiii(u, v, out, width, height, stride);
}

int32_t __real__ZN3eis21MaskBinarizeDilate_r3EPhiihS0_(uint8_t*, int, int, uint8_t, uint8_t*);
int32_t __wrap__ZN3eis21MaskBinarizeDilate_r3EPhiihS0_(uint8_t* mask, int width, int height, uint8_t threshold,
                                                       uint8_t* scratch) {
    delay();
    return __real__ZN3eis21MaskBinarizeDilate_r3EPhiihS0_(mask, width, height, threshold, scratch);
}

void __real__ZN3eis20DownScaleBox2x2_neonEPKhiPhii(const uint8_t*, int, uint8_t*, int, int);
void __wrap__ZN3eis20DownScaleBox2x2_neonEPKhiPhii(const uint8_t* src, int stride, uint8_t* dst, int width,
                                                   int height) {
    delay();
    __real__ZN3eis20DownScaleBox2x2_neonEPKhiPhii(src, stride, dst, width, height);
}

}  // extern "C"
