// The dispatch of the temporal filter, on a real device, against the fixture kernel's twin.
#include "opencl/temporal_filter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "libCore/core/source/frame/slots.h"
#include "libCore/core/source/frame/wire.h"
#include "opencl/event_profile.h"
#include "opencl/opencl_ivp_api.h"
#include "tests/gpu/gpu_fixture.h"
#include "tests/harness/calls.h"
#include "tests/harness/device_space.h"
#include "tests/harness/events.h"

namespace eis {
namespace {

using test::logWas;

constexpr int kShift = 64;  // of a plane in its allocation, behind the allocation's own address word

// Buffer objects of the host's allocator: arrays of functions, the fourth of which gives a handle.
struct BufferObject {
    void* functions[4];
    void* base;
    int handle;
};
std::vector<BufferObject> g_objects;

int handleOf(void* object) {
    return static_cast<BufferObject*>(object)->handle;
}
void* lookup(void* base) {
    const auto found = std::find_if(g_objects.begin(), g_objects.end(), [=](const auto& o) { return o.base == base; });
    return found != g_objects.end() ? &*found : nullptr;
}
MemAllocatorTable g_table{nullptr, nullptr, lookup};

// One plane in an allocation of its own, with the allocation's device address in the word before it.
struct Allocation {
    Allocation(test::DeviceSpace& space, const char* name, size_t bytes, unsigned seed) : memory(kShift + bytes) {
        for (uint8_t& byte : memory) byte = static_cast<uint8_t>((seed = seed * 1103515245 + 12345) >> 16);
        storeUnaligned(plane() - 4, space.addRange(name, memory));
    }
    uint8_t* plane() { return memory.data() + kShift; }

    std::vector<uint8_t> memory;
};

class TemporalFilter : public test::GpuTest {
  protected:
    void SetUp() override {
        GpuTest::SetUp();
        if (IsSkipped()) return;
        ASSERT_EQ(SetUpOpenclMFNR(nullptr), 0);
        test::clearEvents();
    }
    void TearDown() override {
        setMemAllocatorMFNR(nullptr);
        g_objects.clear();
        if (!IsSkipped()) GpuTest::TearDown();
    }

    void useImport() {
        g_objects.clear();
        int handle = 0;
        for (Allocation* a : {&src1_, &src2_, &mask_, &out_}) {
            BufferObject object{
                {nullptr, nullptr, nullptr, reinterpret_cast<void*>(handleOf)}, a->memory.data(), handle};
            g_objects.push_back(object);
            eisLayerSetHandle(handle++, a->memory.data());
        }
        setMemAllocatorMFNR(&g_table);
    }

    int run(int width) {
        std::fill(out_.plane(), out_.plane() + kStride * kHeight, 0xEE);
        for (int i = 0; i < kStride * kHeight; i += 3) mask_.plane()[i] = 0;
        ST_TEMPORALFILTER_PARAMS params{reinterpret_cast<uint32_t*>(src2_.plane()),
                                        reinterpret_cast<uint32_t*>(mask_.plane()),
                                        src1_.plane(),
                                        src2_.plane(),
                                        mask_.plane(),
                                        out_.plane(),
                                        kAlpha,
                                        kStride,
                                        kStrideUV,
                                        kHeight,
                                        width};
        return kernel_temporalfilter(&params);
    }

    // Columns past the last whole item keep what the plane held (imported) or are undefined (copied out).
    void expectBlend(int width) {
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < width / 16 * 16; ++x) {
                const int i = y * kStride + x;
                const int a = src1_.plane()[i];
                const int b = src2_.plane()[i];
                const int expected = mask_.plane()[i] != 0 ? a : (a * (256 - kAlpha) + b * kAlpha + 128) >> 8;
                ASSERT_EQ(out_.plane()[i], expected) << x << ", " << y;
            }
        }
    }

    static constexpr int kStride = 128, kStrideUV = 64, kHeight = 10, kAlpha = 77;

    test::DeviceSpace space_;
    Allocation src1_{space_, "src1", (kStride + kStrideUV) * kHeight, 1};
    Allocation src2_{space_, "src2", (kStride + kStrideUV) * kHeight, 2};
    Allocation mask_{space_, "mask", kStride* kHeight, 3};
    Allocation out_{space_, "out", kStride* kHeight, 4};
};

TEST_F(TemporalFilter, CopiesInAndOut) {
    MemAllocatorTable withoutLookup{nullptr, nullptr, nullptr};
    for (MemAllocatorTable* table : {static_cast<MemAllocatorTable*>(nullptr), &withoutLookup}) {
        test::clearEvents();
        setMemAllocatorMFNR(table);
        const auto src2 = src2_.memory;
        EXPECT_EQ(run(128), 0);
        EXPECT_EQ(src2_.memory, src2);
        expectBlend(128);
        EXPECT_TRUE(test::eventsWere({"info [GPU]: stride=128, strideUV=64, width=128, height=10, alpha=77, ",
                                      "info [GPU]: kernel_temporalfilter use:* us"}));
    }
}

TEST_F(TemporalFilter, ImportsSharedMemory) {
    useImport();
    EXPECT_EQ(run(100), 0);
    expectBlend(100);
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 96; x < kStride; ++x) ASSERT_EQ(out_.plane()[y * kStride + x], 0xEE) << "not dispatched";
    }
    EXPECT_TRUE(
        test::eventsWere({"info [GPU]: stride=128, strideUV=64, width=100, height=10, alpha=77, ", "convert src1",
                          "convert src2", "convert mask", "convert out", "info memShift1=64, memShift2=64",
                          "info pSrc2_org=*, pMask_org=*", "info [GPU]: kernel_temporalfilter use:* us"}));
}

TEST_F(TemporalFilter, WithoutAContextOrABufferObjectThereIsNothingToDo) {
    useImport();
    g_objects.pop_back();
    EXPECT_EQ(run(128), -30);
    ASSERT_EQ(CleanOpenclMFNR(), 0);
    EXPECT_EQ(run(128), -30);
}

TEST_F(TemporalFilter, AnyOpenClCallMayFail) {
    for (const bool import : {false, true}) {
        if (import) useImport();
        const int live = eisLayerLive();
        for (int nth = 1;; ++nth) {
            SCOPED_TRACE((import ? "import, call " : "copy, call ") + std::to_string(nth));
            test::clearEvents();
            const EisLayerSettings settings{nullptr, nullptr, 0, 0, 0, nth};
            eisLayerReset(&settings);
            const int status = run(128);
            const bool failed = eisLayerCalls() >= nth;
            EXPECT_EQ(eisLayerLive(), live);
            eisLayerReset(nullptr);
            EXPECT_EQ(run(128), 0) << "the next call";
            expectBlend(128);
            if (!failed) {
                EXPECT_EQ(status, 0);
                // Buffers, 13 arguments, the dispatch and its end, the way back, four releases.
                EXPECT_GT(nth, 4 + 13 + 2 + 4);
                break;
            }
        }
    }
}

TEST_F(TemporalFilter, EventTimesAreReported) {
    const OpenCLFoundation& foundation = *GetHandleAlgoOpenCL()->foundation;
    cl_device_id device = foundation.devices[foundation.platformIndex][0];
    const test::Events start = {"info[MFNR_AP] /=====\nTune system performance: a fill\n",
                                "info[MFNR_AP] Event finish.\n"};
    const std::pair<cl_command_queue_properties, test::Events> cases[] = {
        {CL_QUEUE_PROFILING_ENABLE,
         {"info[MFNR_AP] Time used for transferring commands to device: *ns\n",
          "info[MFNR_AP] Time used on device for waiting commands to run: *ns\n",
          "info[MFNR_AP] Time used on device for executing commands: *ns\n=====/\n"}},
        {0,
         {"error[MFNR_AP] Error: Fail to get profiling data CL_PROFILING_COMMAND_QUEUED (clGetEventProfilingInfo "
          "return "
          "error code -7)\n"}}};
    for (const auto& [properties, times] : cases) {
        test::clearEvents();
        cl_command_queue queue = clCreateCommandQueue(foundation.context, device, properties, nullptr);
        cl_event event = nullptr;
        ASSERT_EQ(clEnqueueMarkerWithWaitList(queue, 0, nullptr, &event), CL_SUCCESS);
        ReportEventProfile(event, "a fill");
        clReleaseCommandQueue(queue);
        EXPECT_TRUE(logWas(test::joined({start, times})));
    }
}

}  // namespace
}  // namespace eis
