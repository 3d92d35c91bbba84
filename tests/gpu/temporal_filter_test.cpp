// The dispatch of the temporal filter, on a real device, against the fixture kernel's twin.
#include "opencl/temporal_filter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "libCore/core/source/frame/slots.h"
#include "libCore/core/source/frame/wire.h"
#include "opencl/event_profile.h"
#include "opencl/opencl_ivp_api.h"
#include "tests/gpu/gpu_fixture.h"
#include "tests/harness/calls.h"
#include "tests/harness/device_space.h"

namespace eis {
namespace {

using test::eachOf;
using test::Events;
using test::eventsWere;
using test::joined;

constexpr int kStride = 128, kStrideUV = 64, kHeight = 10, kAlpha = 77;
constexpr int kFrameBytes = (kStride + kStrideUV) * kHeight;
constexpr int kMaskBytes = kStride * kHeight;
constexpr char kArgument[] = "clSetKernelArg temporalfilter ";

// One plane, `shift` behind the start of an allocation of its own. The allocation's device address is the word before
// `reference`. It is a buffer object of the host's allocator, too: an array of functions, the fourth of which gives a
// handle.
struct Allocation {
    Allocation(test::DeviceSpace& space, const char* name, int shift, int bytes, int at)
        : handle(at), memory(shift + bytes), plane(memory.data() + shift) {
        unsigned seed = shift;
        for (uint8_t& byte : memory) byte = static_cast<uint8_t>((seed = seed * 1103515245 + 12345) >> 16);
        // The second frame and the mask have theirs away from the plane.
        const bool apart = at == 1 || at == 2;
        reference = reinterpret_cast<uint32_t*>(apart ? memory.data() + 32 : plane);
        storeUnaligned(reference - 1, space.addRange(name, memory));
        eisLayerSetHandle(handle, memory.data());
    }
    static int handleOf(void* object) { return static_cast<Allocation*>(object)->handle; }

    void* functions[4] = {nullptr, nullptr, nullptr, reinterpret_cast<void*>(handleOf)};
    int handle;
    std::vector<uint8_t> memory;
    uint8_t* plane;
    uint32_t* reference;
};
std::vector<Allocation*> g_objects;

void* lookup(void* base) {
    for (Allocation* object : g_objects) {
        if (object->memory.data() == base) return object;
    }
    return nullptr;
}
MemAllocatorTable g_importing{nullptr, nullptr, lookup};

// Once the kernel is on its way, the second frame is wiped where it was copied, so that its way back shows.
void observe(const char* call) {
    test::recordCall(call);
    if (g_memAllocatorMFNR != &g_importing && std::string_view(call).starts_with("clEnqueueNDRange")) {
        std::fill_n(g_objects[1]->plane, kFrameBytes, uint8_t{0});
    }
}

class TemporalFilter : public test::GpuTest {
  protected:
    void SetUp() override {
        GpuTest::SetUp();
        if (IsSkipped()) return;
        ASSERT_EQ(SetUpOpenclMFNR(nullptr), 0);
        g_objects = {&src1_, &src2_, &mask_, &out_};
        for (int i = 0; i < kMaskBytes; i += 3) mask_.plane[i] = 0;
    }
    void TearDown() override {
        setMemAllocatorMFNR(nullptr);
        if (!IsSkipped()) GpuTest::TearDown();
    }

    int run(int width, int failCall = 0, bool failKeepsObject = false) {
        EisLayerSettings settings = test::kPresented;
        settings.observer = observe;
        test::resetLayer(settings, failCall, failKeepsObject);
        std::fill_n(out_.plane, kMaskBytes, uint8_t{0xEE});
        std::copy(src2Content_.begin(), src2Content_.end(), src2_.memory.begin());
        ST_TEMPORALFILTER_PARAMS params{src2_.reference, mask_.reference, src1_.plane, src2_.plane,
                                        mask_.plane,     out_.plane,      kAlpha,      kStride,
                                        kStrideUV,       kHeight,         width};
        const test::FakeClock clock(1000, 250);
        return kernel_temporalfilter(&params);
    }

    // Columns past the last whole item are not dispatched.
    bool isBlend(int width) {
        for (int i = 0; i < kMaskBytes; ++i) {
            const int a = src1_.plane[i];
            const int b = src2Content_[80 + i];
            const int blend = mask_.plane[i] != 0 ? a : (a * (256 - kAlpha) + b * kAlpha + 128) >> 8;
            if (i % kStride < width / 16 * 16 && out_.plane[i] != blend) return false;
        }
        return true;
    }

    test::DeviceSpace space_;
    Allocation src1_{space_, "src1", 64, kFrameBytes, 0};
    Allocation src2_{space_, "src2", 80, kFrameBytes, 1};
    Allocation mask_{space_, "mask", 96, kMaskBytes, 2};
    Allocation out_{space_, "out", 112, kMaskBytes, 3};
    const std::vector<uint8_t> src2Content_ = src2_.memory;
};

TEST_F(TemporalFilter, EveryCallOfACopy) {
    MemAllocatorTable withoutLookup{nullptr, nullptr, nullptr};
    for (MemAllocatorTable* table : {static_cast<MemAllocatorTable*>(nullptr), &withoutLookup}) {
        setMemAllocatorMFNR(table);
        EXPECT_EQ(run(128), 0);
        EXPECT_TRUE(isBlend(128));
        EXPECT_EQ(src2_.memory, src2Content_);
        EXPECT_TRUE(eventsWere(
            joined({{"info [GPU]: stride=128, strideUV=64, width=128, height=10, alpha=77, ",
                     "clCreateBuffer Context0 33 1920 ptr ptr", "clCreateBuffer Context0 36 1920 ptr ptr",
                     "clCreateBuffer Context0 36 1280 ptr ptr", "clCreateBuffer Context0 18 1280 null ptr"},
                    eachOf(kArgument, {"0 8 Buffer0", "1 8 Buffer1", "2 8 Buffer2", "3 8 Buffer3", "4 4 77", "5 4 128",
                                       "6 4 64", "7 4 128", "8 4 10", "9 4 0", "10 4 0", "11 4 0", "12 4 0"}),
                    {"clEnqueueNDRangeKernel CommandQueue0 temporalfilter 2 null 8,5 null 0 null null",
                     "clFinish CommandQueue0", "info [GPU]: kernel_temporalfilter use:250 us",
                     "clEnqueueMapBuffer CommandQueue0 Buffer1 1 1 0 1920 0 null null ptr", "clFinish CommandQueue0",
                     "clEnqueueUnmapMemObject CommandQueue0 Buffer1 MapBuffer0 0 null null", "clFinish CommandQueue0",
                     "clEnqueueMapBuffer CommandQueue0 Buffer3 1 1 0 1280 0 null null ptr", "clFinish CommandQueue0",
                     "clEnqueueUnmapMemObject CommandQueue0 Buffer3 MapBuffer0 0 null null", "clFinish CommandQueue0"},
                    eachOf("clReleaseMemObject Buffer", {"0", "1", "2", "3"})})));
    }
}

TEST_F(TemporalFilter, EveryCallOfAnImport) {
    setMemAllocatorMFNR(&g_importing);
    EXPECT_EQ(run(100), 0);
    EXPECT_TRUE(isBlend(100));
    for (int i = 0; i < kMaskBytes; ++i) ASSERT_TRUE(i % kStride < 96 || out_.plane[i] == 0xEE) << "not dispatched";
    EXPECT_TRUE(eventsWere(joined(
        {{"info [GPU]: stride=128, strideUV=64, width=100, height=10, alpha=77, ", "convert src1", "convert src2",
          "convert mask", "convert out", "info memShift1=80, memShift2=96",
          "info pSrc2_org=" + testing::PrintToString(static_cast<void*>(src2_.memory.data())) +
              ", pMask_org=" + testing::PrintToString(static_cast<void*>(mask_.memory.data()))},
         eachOf("clImportMemoryARM Context0 1 16562 16564 0 ",
                {"0 1984 ptr", "1 2000 ptr", "2 1376 ptr", "3 1392 ptr"}),
         eachOf(kArgument, {"0 8 MemoryARM0", "1 8 MemoryARM1", "2 8 MemoryARM2", "3 8 MemoryARM3", "4 4 77", "5 4 128",
                            "6 4 64", "7 4 100", "8 4 10", "9 4 64", "10 4 80", "11 4 96", "12 4 112"}),
         {"clEnqueueNDRangeKernel CommandQueue0 temporalfilter 2 null 6,5 null 0 null null", "clFinish CommandQueue0",
          "info [GPU]: kernel_temporalfilter use:250 us", "clFinish CommandQueue0"},
         eachOf("clReleaseMemObject MemoryARM", {"0", "1", "2", "3"})})));
    g_objects.pop_back();
    EXPECT_EQ(run(128), -30) << "no buffer object";
    ASSERT_EQ(CleanOpenclMFNR(), 0);
    EXPECT_EQ(run(128), -30) << "no context";
}

TEST_F(TemporalFilter, AnyOpenClCallMayFail) {
    const std::string unset = "error [GPU]: Failed to set kernel_temporalfilter kernel arguments, status = ";
    const std::string notQueued = "error [GPU]: Failed to enqueue kernel_temporalfilter. status = -5\n";
    // The status, what came back of second frame and output, the number of callbacks and the error when each call from
    // first to last fails.
    const struct {
        bool import, failKeepsObject;
        int first, last, status;
        bool src2Back, outBack;
        size_t callbacks;
        Events errors;
    } cases[] = {
        {false, false, 1, 4, -38, true, false, 19, {unset + "-38\n"}},  // a missing buffer is not handed over
        {false, true, 1, 4, 0, true, true, 31, {}},                     // errors of creation are not looked at
        {false, false, 5, 17, -5, true, false, 21, {unset + "-5\n"}},
        {false, false, 18, 18, -5, false, false, 22, {notQueued}},
        {false, false, 19, 19, 0, true, true, 31, {}},
        {false, false, 20, 20, -5, false, true, 30, {}},  // without an address nothing is unmapped
        {false, true, 20, 20, -5, false, true, 31, {}},   // with one it is, but not read
        {false, false, 21, 21, -5, false, true, 31, {}},
        {false, false, 22, 23, -5, true, true, 31, {}},
        {false, false, 24, 24, -5, true, false, 30, {}},
        {false, false, 25, 25, -5, true, false, 31, {}},
        {false, false, 26, 27, -5, true, true, 31, {}},
        {false, false, 28, 32, 0, true, true, 31, {}},
        {true, false, 4, 4, -5, true, false, 4 + 7, {}},
        {true, true, 4, 4, -5, true, false, 4 + 8, {}},
        {true, false, 5, 17, -5, true, false, 4 + 21, {unset + "-5\n"}},
        {true, false, 18, 18, -5, true, false, 4 + 22, {notQueued}},
        {true, false, 19, 19, 0, true, true, 4 + 24, {}},
        {true, false, 20, 20, -5, true, true, 4 + 24, {}},
        {true, false, 21, 25, 0, true, true, 4 + 24, {}},
    };
    const int live = eisLayerLive();
    for (const auto& c : cases) {
        setMemAllocatorMFNR(c.import ? &g_importing : nullptr);
        for (int nth = c.first; nth <= c.last; ++nth) {
            SCOPED_TRACE((c.import ? "import, call " : "copy, call ") + std::to_string(nth));
            EXPECT_EQ(run(128, nth, c.failKeepsObject), c.status);
            EXPECT_EQ(src2_.memory == src2Content_, c.src2Back);
            EXPECT_EQ(isBlend(128), c.outBack);
            EXPECT_EQ(test::callbacks().size(), c.callbacks);
            EXPECT_TRUE(test::errorsWere(c.errors));
            EXPECT_EQ(eisLayerLive(), live);
        }
    }
}

TEST_F(TemporalFilter, EventTimesAreReported) {
    const Events lines = {"info[MFNR_AP] /=====\nTune system performance: a fill\n", "info[MFNR_AP] Event finish.\n",
                          "info[MFNR_AP] Time used for transferring commands to device: 20ns\n",
                          "info[MFNR_AP] Time used on device for waiting commands to run: 300ns\n",
                          "info[MFNR_AP] Time used on device for executing commands: 4000ns\n=====/\n"};
    const std::string failed = "error[MFNR_AP] Error: Fail to ";
    std::vector<Events> expected = {
        lines, {lines[0], failed + "wait event to finish (clWaitForEvents return error code -5)\n"}};
    for (const std::string stage : {"QUEUED", "SUBMIT", "START", "END"}) {
        expected.push_back({lines[0], lines[1],
                            failed + "get profiling data CL_PROFILING_COMMAND_" + stage +
                                " (clGetEventProfilingInfo return error code -5)\n"});
    }
    const int live = eisLayerLive();
    for (size_t nth = 0; nth < expected.size(); ++nth) {
        cl_event event = clCreateUserEvent(GetHandleAlgoOpenCL()->foundation->context, nullptr);
        ASSERT_EQ(clSetUserEventStatus(event, CL_COMPLETE), CL_SUCCESS);
        test::resetLayer(test::kPresented, static_cast<int>(nth));
        ReportEventProfile(event, "a fill");
        EXPECT_EQ(eisLayerLive(), live);
        EXPECT_TRUE(test::logWas(expected[nth]));
    }
}

}  // namespace
}  // namespace eis
