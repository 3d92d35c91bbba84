// The same call gives the same bytes at every timing of its workers.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>

#include "tests/denoise/chroma_call.h"
#include "tests/denoise/spatial_call.h"

namespace {

std::atomic<uint64_t> g_delayState{0};  // 0: no delays

// In every call of the kernels that CMakeLists.txt wraps. Half of the calls go on at once, the others wait for up to
// 255 microseconds.
void delay() {
    if (g_delayState == 0) return;
    uint64_t bits = g_delayState.fetch_add(0x9E3779B97F4A7C15u);
    bits = (bits ^ bits >> 30) * 0xBF58476D1CE4E5B9u;
    if ((bits >> 63) == 0) usleep(static_cast<useconds_t>(bits >> 32 & 255));
}

}  // namespace

// The kernels' names are those of the linker: between the workers' reads and writes of luma, and of chroma.
extern "C" {

void __real__ZN3eis15ChromaMagnitudeEPKhS1_Phiii(const uint8_t*, const uint8_t*, uint8_t*, int, int, int);
void __wrap__ZN3eis15ChromaMagnitudeEPKhS1_Phiii(const uint8_t* u, const uint8_t* v, uint8_t* out, int width,
                                                 int height, int stride) {
    delay();
    __real__ZN3eis15ChromaMagnitudeEPKhS1_Phiii(u, v, out, width, height, stride);
}

void __real__ZN3eis20DownScaleBox2x2_neonEPKhiPhii(const uint8_t*, int, uint8_t*, int, int);
void __wrap__ZN3eis20DownScaleBox2x2_neonEPKhiPhii(const uint8_t* src, int stride, uint8_t* dst, int width,
                                                   int height) {
    delay();
    __real__ZN3eis20DownScaleBox2x2_neonEPKhiPhii(src, stride, dst, width, height);
}

}  // extern "C"

namespace eis::test {
namespace {

// Often, unless the machine is emulated or the program instrumented.
#if defined(__aarch64__) || defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kRuns = 10;
#else
constexpr int kRuns = 500;
#endif

template <class Call>
void expectRepeats(Call call) {
    call.expect();
    for (int run = 0; run < kRuns; ++run) {
        call.picture.restore();
        g_delayState = 2 * run + 1;
        const ret_status status = call.run();
        g_delayState = 0;
        ASSERT_EQ(status, retStsOK);
        ASSERT_TRUE(call.picture.asExpected()) << call.picture.width << "x" << call.picture.height << ", run " << run;
    }
}

TEST(Repeatability, BandsUnderRandomDelays) {
    for (const auto& [width, height] : {std::pair{256, 256}, {300, 260}}) {
        for (const bool flag : {false, true}) {
            expectRepeats(ChromaCallFixture({width, height, flag}, 400));
            // Without chroma, luma is all that the bands meet for.
            SpatialCallFixture call(width, height, 401);
            call.dn.chromaNrEnable = flag ? 1 : 0;
            expectRepeats<SpatialCallFixture&>(call);
        }
    }
}

}  // namespace
}  // namespace eis::test
