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
#include "tests/harness/transcript.h"

namespace eis {
namespace {

constexpr int kStride = 128, kStrideUV = 64, kHeight = 10, kAlpha = 77;
constexpr int kFrameBytes = (kStride + kStrideUV) * kHeight;
constexpr int kMaskBytes = kStride * kHeight;

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

// What came of a run: its status, and whether the second frame and the output came back.
TEST_F(TemporalFilter, EveryCallAndAnyThatFails) {
    test::Transcript runs(EIS_TEST_FOLDER);
    const auto note = [&](const std::string& name, int width, const test::Events& events, int status) {
        std::string outcome = std::to_string(status);
        outcome += src2_.memory == src2Content_ ? ", second frame back" : ", second frame lost";
        outcome += isBlend(width) ? ", blended" : ", not blended";
        runs.add(name, outcome, events);
    };
    MemAllocatorTable withoutLookup{nullptr, nullptr, nullptr};
    setMemAllocatorMFNR(&withoutLookup);
    EXPECT_EQ(run(128), 0);
    EXPECT_TRUE(isBlend(128));
    for (MemAllocatorTable* table : {static_cast<MemAllocatorTable*>(nullptr), &g_importing}) {
        const std::string mode = table == nullptr ? "copy" : "import";
        setMemAllocatorMFNR(table);
        const int width = table == nullptr ? 128 : 100;
        const int status = run(width);
        note(mode, width, test::allEvents(), status);
        for (int i = 0; i < kMaskBytes; ++i) {
            ASSERT_TRUE(i % kStride < width / 16 * 16 || out_.plane[i] == 0xEE) << "not dispatched";
        }
        const int calls = static_cast<int>(test::openClCalls().size());
        const int live = eisLayerLive();
        for (int nth = 1; nth <= calls; ++nth) {
            for (const bool keepsObject : {false, true}) {
                const int failing = run(128, nth, keepsObject);
                EXPECT_EQ(eisLayerLive(), live);
                test::Events events = test::errorLines();
                events.push_back(std::to_string(test::openClCalls().size()) + " calls");
                note(mode + ", " + test::openClCalls()[nth - 1] + (keepsObject ? " keeps its object" : " fails"), 128,
                     events, failing);
            }
        }
    }
    g_objects.pop_back();
    EXPECT_EQ(run(128), -30) << "no buffer object";
    ASSERT_EQ(CleanOpenclMFNR(), 0);
    EXPECT_EQ(run(128), -30) << "no context";
    EXPECT_TRUE(runs.isAsRecorded());
}

TEST_F(TemporalFilter, EventTimesAreReported) {
    const test::Events lines = {"info[MFNR_AP] /=====\nTune system performance: a fill\n",
                                "info[MFNR_AP] Event finish.\n",
                                "info[MFNR_AP] Time used for transferring commands to device: 20ns\n",
                                "info[MFNR_AP] Time used on device for waiting commands to run: 300ns\n",
                                "info[MFNR_AP] Time used on device for executing commands: 4000ns\n=====/\n"};
    const std::string failed = "error[MFNR_AP] Error: Fail to ";
    std::vector<test::Events> expected = {
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
