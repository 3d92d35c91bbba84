// Set-up and clean-up of the GPU path: what is chosen, what is logged, what is left when any step fails.
#include <gtest/gtest.h>

#include <string>

#include "include/acore_api.h"
#include "opencl/egl_display.h"
#include "opencl/opencl_foundation.h"
#include "opencl/opencl_ivp_api.h"
#include "tests/gpu/gpu_fixture.h"
#include "tests/harness/calls.h"
#include "tests/harness/events.h"

namespace eis {
namespace {

using test::clearEvents;
using test::Events;
using test::GpuTest;
using test::logWas;

const Events kCleaned = {"info[MFNR_AP] [GPU]: cmd Queue ref count before release it : 1\n",
                         "info[MFNR_AP] [GPU]: Context ref count before release it : *\n"};

using Lifecycle = GpuTest;

TEST_F(Lifecycle, ComesUpOnceAndGoesOnce) {
    EXPECT_EQ(CleanOpenclMFNR_AcoreAPI(), retStsOK);
    ASSERT_EQ(SetUpOpenclMFNR(nullptr), retStsOK);
    EXPECT_TRUE(logWas({"info loadV2 = false"}));
    EXPECT_NE(GetHandleAlgoOpenCL(), nullptr);
    EXPECT_EQ(eisLayerLive(), 2 + 1 + kKernelCount);
    const OpenCLAlgoContext* first = GetHandleAlgoOpenCL();
    for (const cl_kernel kernel : first->kernels) EXPECT_NE(kernel, nullptr);

    clearEvents();
    ASSERT_EQ(SetUpOpenclMFNR(nullptr), retStsOK) << "over a live context";
    Events again = kCleaned;
    again.push_back("info loadV2 = false");
    EXPECT_TRUE(logWas(again));
    EXPECT_EQ(eisLayerLive(), 2 + 1 + kKernelCount);

    clearEvents();
    EXPECT_EQ(CleanOpenclMFNR_AcoreAPI(), retStsOK);
    EXPECT_TRUE(logWas(kCleaned));
    EXPECT_EQ(eisLayerLive(), 0);
    EXPECT_EQ(CleanOpenclMFNR_AcoreAPI(), retStsOK);
}

TEST_F(Lifecycle, TheArchitectureKeyChoosesTheProgram) {
    placeFile(test::kArchitectureKey, "");
    EXPECT_EQ(SetUpOpenclMFNR(nullptr), retStsThreadError) << "the second program is not there";
    EXPECT_TRUE(
        logWas({"info loadV2 = true", "error ERROR: Failed to open file '/system/etc/camera/libcl/mfnr_v2.cl'\n",
                "error [GPU]: clCreateProgramWithBinary fail to create program, status = *", "info[MFNR_AP] *",
                "info[MFNR_AP] *"}));
    placeFile(test::kProgramPathV2, test::programBinary(""));
    EXPECT_EQ(SetUpOpenclMFNR(nullptr), retStsOK);
    clearEvents();
    test::setAccessResult(false);
    EXPECT_EQ(SetUpOpenclMFNR(nullptr), retStsOK) << "the key opens, but is not found";
    EXPECT_TRUE(logWas(kCleaned));
}

TEST_F(Lifecycle, FindsTheVendorsGpu) {
    struct Case {
        EisLayerSettings settings;
        int status;
        Events log;
    };
    const Case cases[] = {
        {{nullptr, "ARM Ltd.", 0, 0, 0, 0}, 0, {}},
        {{nullptr, "AR", 0, 0, 0, 0}, 0, {}},
        {{"ARM ", nullptr, 0, 0, 0, 0}, -2, {"error[MFNR_AP] [GPU]: There is no ARM platform to use. exit.\n"}},
        {{nullptr, nullptr, 1, 0, 0, 0}, -1, {"error[MFNR_AP] [GPU]: There is no ARM GPU to use. exit.\n"}},
        {{nullptr, nullptr, 0, 0, 1, 0},
         0,
         {"error[MFNR_AP] [GPU]: Fail to get platform IDs. (clGetPlatformIDs). status = 0, numPlatforms = 0\n"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.log.empty() ? c.settings.extraVendor : c.log[0]);
        clearEvents();
        eisLayerReset(&c.settings);
        OpenCLFoundation* foundation = nullptr;
        EXPECT_EQ(setupOpencl(&foundation, "ARM"), c.status);
        EXPECT_TRUE(logWas(c.log));
        EXPECT_EQ(foundation != nullptr, c.status == 0);
        if (foundation == nullptr) continue;
        const bool chosen = c.settings.noPlatforms == 0;
        EXPECT_EQ(foundation->platformIndex, chosen ? (c.settings.extraVendor != nullptr ? 1 : 0) : -1);
        EXPECT_EQ(foundation->context != nullptr, chosen);
        EXPECT_EQ(cleanOpencl(foundation), 0);
    }
    const EisLayerSettings none{nullptr, nullptr, 0, 0, 1, 0};
    eisLayerReset(&none);
    EXPECT_EQ(SetUpOpenclMFNR(nullptr), retStsThreadError) << "a foundation without a platform has no program";
    const EisLayerSettings noImport{nullptr, nullptr, 0, 1, 0, 0};
    eisLayerReset(&noImport);
    clearEvents();
    EXPECT_EQ(SetUpOpenclMFNR(nullptr), retStsThreadError);
    EXPECT_TRUE(logWas({"info loadV2 = false", "error [GPU]: Get cl extension functions failed.\n", "info[MFNR_AP] *",
                        "info[MFNR_AP] *"}));
}

TEST_F(Lifecycle, AnyOpenClCallMayFail) {
    for (int nth = 1;; ++nth) {
        SCOPED_TRACE(nth);
        const EisLayerSettings settings{nullptr, nullptr, 0, 0, 0, nth};
        eisLayerReset(&settings);
        const test::ResourceWatch watch;
        const ret_status up = SetUpOpenclMFNR(nullptr);
        const bool duringSetUp = eisLayerCalls() >= nth;
        // A failing release or count of a failing tear-down is not the set-up's failure.
        EXPECT_EQ(up, duringSetUp ? retStsThreadError : retStsOK);
        const ret_status down = CleanOpenclMFNR_AcoreAPI();
        EXPECT_TRUE(down == retStsOK || !duringSetUp);
        EXPECT_EQ(GetHandleAlgoOpenCL(), nullptr);
        EXPECT_EQ(eisLayerLive(), 0);
        EXPECT_TRUE(watch.nothingLeft());
        if (eisLayerCalls() < nth) {
            EXPECT_GT(nth, 2 * kKernelCount);
            break;
        }
        if (!duringSetUp && down != retStsOK) {
            EXPECT_EQ(test::logLines().back(), "error [GPU]: CleanOpenclMFNR failed!");
        }
    }
}

TEST_F(Lifecycle, AnyAllocationMayFail) {
    const auto run = [] {
        const int status = SetUpOpenclMFNR(nullptr);
        CleanOpenclMFNR();
        return status;
    };
    const auto failed = [](int status, int /*nth*/) {
        EXPECT_EQ(status, retStsThreadError);
        EXPECT_EQ(eisLayerLive(), 0);
    };
    const auto succeeded = [](int status) { EXPECT_EQ(status, retStsOK); };
    // Foundation, four arrays, devices of a platform, context, file, lists of binaries and of sizes.
    EXPECT_EQ(test::failEachInTurn({.calls = test::kMalloc, .run = run, .failed = failed, .succeeded = succeeded}), 10);
}

TEST_F(Lifecycle, CleaningNothingIsNoFailure) {
    EXPECT_EQ(cleanOpencl(nullptr), 0);
    EXPECT_EQ(cleanOpencl_algo(nullptr), -34);
    OpenCLAlgoContext empty{};
    EXPECT_EQ(cleanOpencl_algo(&empty), -34);
    EXPECT_EQ(setupOpencl_algo(nullptr, "", 1, nullptr), -34);
    EXPECT_TRUE(logWas({"info[MFNR_AP] [GPU]: WARNING: cleanOpencl input handle is NULL.\n",
                        "error [GPU]: cleanOpencl_algo input phandleAlgoOpenCL is NULL.\n",
                        "error [GPU]: cleanOpencl_algo OpenCL foundation context is NULL.\n",
                        "error [GPU]: setupOpencl_algo input handleOpenCLFoundation is NULL.\n"}));
}

TEST(EglDisplay, OpensOrSaysWhatFailed) {
    EGLContext context = &context;
    EGLDisplay display = nullptr;
    test::setEglFault(0);
    EXPECT_EQ(InitEglDisplay(&display, &context), 1);
    EXPECT_NE(display, nullptr);
    EXPECT_EQ(context, nullptr);
    test::setEglFault(1);
    EXPECT_EQ(InitEglDisplay(&display, &context), 0);
    test::setEglFault(2);
    EXPECT_EQ(InitEglDisplay(&display, &context), 0);
    EXPECT_TRUE(logWas({"error[MFNR_AP] eglGetDisplay FAILED.\n", "error[MFNR_AP] eglInitialize FAILED.\n"}));
}

}  // namespace
}  // namespace eis
