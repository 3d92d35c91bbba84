// Set-up and clean-up of the GPU path: every call, what is logged and traced, what is left when any step fails.
// Programs that cannot be built. The GPU thread: parameters, joins in every order, results.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <tuple>
#include <vector>

#include "include/acore_api.h"
#include "opencl/egl_display.h"
#include "opencl/opencl_ivp_api.h"
#include "opencl/program_file.h"
#include "tests/gpu/gpu_fixture.h"
#include "tests/harness/calls.h"
#include "tests/harness/traces.h"

namespace eis {
namespace {

using test::eachOf;
using test::Events;
using test::eventsWere;
using test::joined;
using test::kPresented;
using test::logWas;
using test::resetLayer;

const char kQueueCount[] = "info[MFNR_AP] [GPU]: cmd Queue ref count before release it : 1\n";
const char kContextCount[] = "info[MFNR_AP] [GPU]: Context ref count before release it : *\n";

// By their places in the context, which is their order in the fixture.
Events kernelNames() {
    const std::string source = test::programSource();
    Events names = {"temporalfilter"};
    for (size_t at = source.find("\nEMPTY("); at != std::string::npos; at = source.find("EMPTY(", at)) {
        at = source.find('(', at) + 1;
        names.push_back(source.substr(at, source.find(')', at) - at));
    }
    return names;
}

Events setUpEvents() {
    const std::string size = std::to_string(test::programBinary("").size());
    Events kernels;
    for (const int place : {0,  1,  2,  3,  4,  5,  6,  7,  8,  11, 12, 13, 9,  10, 14,
                            15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29}) {
        kernels.push_back(kernelNames()[place] + "\" ptr");
    }
    return joined(
        {{"info loadV2 = false"},
         eachOf("clGet", {"PlatformIDs 0 null ptr", "PlatformIDs 2 ptr null",
                          "DeviceIDs platform0 4294967295 0 null ptr", "DeviceIDs platform0 4294967295 1 ptr null",
                          "DeviceIDs platform1 4294967295 0 null ptr", "DeviceIDs platform1 4294967295 2 ptr null",
                          "PlatformInfo platform0 2307 128 ptr null", "PlatformInfo platform1 2307 128 ptr null",
                          "DeviceInfo device0 4096 128 ptr null", "DeviceInfo device1 4096 128 ptr null"}),
         {"clCreateContext null 2 device0,device1 null null ptr", "clCreateCommandQueue Context0 device1 0 ptr",
          "clGetExtensionFunctionAddress \"clImportMemoryARM\"",
          "clCreateProgramWithBinary Context0 2 device0,device1 " + size + "," + size + " ptr null ptr",
          "clBuildProgram ProgramWithBinary0 2 device0,device1 null null null"},
         eachOf("clCreateKernel ProgramWithBinary0 \"", kernels)});
}

Events cleanUpEvents() {
    return joined(
        {eachOf("clReleaseKernel ", kernelNames()),
         {"clGetProgramInfo ProgramWithBinary0 4448 128 ptr null", "clReleaseProgram ProgramWithBinary0",
          "clGetCommandQueueInfo CommandQueue0 4242 128 ptr null", kQueueCount, "clReleaseCommandQueue CommandQueue0",
          "clGetContextInfo Context0 4224 128 ptr null", kContextCount, "clReleaseContext Context0"}});
}

using Lifecycle = test::GpuTest;

TEST_F(Lifecycle, EveryCallOfSetUpAndCleanUp) {
    EXPECT_EQ(CleanOpenclMFNR_AcoreAPI(), retStsOK);
    ASSERT_EQ(SetUpOpenclMFNR(nullptr), retStsOK);
    EXPECT_TRUE(eventsWere(setUpEvents()));
    test::clearEvents();
    ASSERT_EQ(SetUpOpenclMFNR(nullptr), retStsOK) << "over a live context";
    EXPECT_TRUE(eventsWere(joined({cleanUpEvents(), setUpEvents()})));
    test::clearEvents();
    EXPECT_EQ(CleanOpenclMFNR_AcoreAPI(), retStsOK);
    EXPECT_EQ(CleanOpenclMFNR_AcoreAPI(), retStsOK);
    EXPECT_TRUE(eventsWere(cleanUpEvents()));
}

TEST_F(Lifecycle, TheArchitectureKeyChoosesTheProgram) {
    placeFile(test::kArchitectureKey, "");
    EXPECT_EQ(SetUpOpenclMFNR(nullptr), retStsThreadError) << "the second program is not there";
    EXPECT_TRUE(logWas(
        {"info loadV2 = true", "error ERROR: Failed to open file '/system/etc/camera/libcl/mfnr_v2.cl'\n",
         "error [GPU]: clCreateProgramWithBinary fail to create program, status = *", kQueueCount, kContextCount}));
    placeFile(test::kProgramPathV2, test::programBinary(""));
    EXPECT_EQ(SetUpOpenclMFNR(nullptr), retStsOK);
    test::clearEvents();
    test::g_accessResult = -1;
    EXPECT_EQ(SetUpOpenclMFNR(nullptr), retStsOK) << "the key opens, but is not found";
    EXPECT_TRUE(logWas({kQueueCount, kContextCount}));
}

TEST_F(Lifecycle, FindsTheVendorsGpu) {
    const struct {
        EisLayerSettings settings;
        int status, platform;
        std::string line;
    } cases[] = {
        {{.extraVendor = "AR"}, 0, 1, ""},
        {{.vendor = "ARM "}, -2, -2, "There is no ARM platform to use. exit.\n"},
        {{.extraVendor = "AR", .realDeviceType = true}, -1, -2, "There is no ARM GPU to use. exit.\n"},
        {{.noPlatforms = true}, 0, -1, "Fail to get platform IDs. (clGetPlatformIDs). status = 0, numPlatforms = 0\n"},
    };
    for (const auto& c : cases) {
        resetLayer(c.settings);
        OpenCLFoundation* foundation = nullptr;
        EXPECT_EQ(setupOpencl(&foundation, "ARM"), c.status);
        EXPECT_TRUE(logWas(c.line.empty() ? Events{} : Events{"error[MFNR_AP] [GPU]: " + c.line}));
        EXPECT_EQ(foundation != nullptr ? foundation->platformIndex : -2, c.platform);
        cleanOpencl(foundation);
    }
    EXPECT_EQ(SetUpOpenclMFNR(nullptr), retStsThreadError) << "a foundation without a platform has no program";
}

TEST_F(Lifecycle, AnyOpenClCallMayFail) {
    // By the call that fails; others go unnoticed.
    const std::pair<std::string, std::string> lines[] = {
        {"clGetPlatformIDs", "[MFNR_AP] [GPU]: Fail to get platform IDs. (clGetPlatformIDs). status = -5, num*"},
        {"clGetDeviceIDs", "[MFNR_AP] [GPU]: Fail to get device IDs. (clGetDeviceIDs). status = -5, numDevices = *"},
        {"clGetPlatformInfo", "[MFNR_AP] [GPU]: Fail to get platform Info. (clGetPlatformInfo). status = -5\n"},
        {"clGetDeviceInfo", "[MFNR_AP] [GPU]: Fail to get device Info. (clGetDeviceInfo). status = -5\n"},
        {"clCreateContext", "[MFNR_AP] Error: Fail to create CL context. status = -5\n"},
        {"clCreateCommandQueue", "[MFNR_AP] Error: Fail to create CL cmdQueueGPU. status = -5\n"},
        {"clGetExtensionFunctionAddress", " [GPU]: Get cl extension functions failed.\n"},
        {"clCreateProgramWithBinary", " [GPU]: clCreateProgramWithBinary fail to create program, status = -5.\n"},
        {"clBuildProgram", " [GPU]: clBuildProgram fail to build program, status = -5.\n"},
        {"clCreateKernel", " ERROR: Failed to create *. status = -5\n"},
        {"clGetProgramInfo",
         " Function clGetProgramInfo(pCtxAlgo->program, CL_PROGRAM_REFERENCE_COUNT, "
         "sizeof(infoBuf), infoBuf, NULL) FAILED. status = -5\n"},
    };
    const size_t setUpCalls = setUpEvents().size() - 1;
    const size_t calls = setUpCalls + cleanUpEvents().size() - 2;
    for (size_t i = 0; i < 2 * calls; ++i) {
        const size_t nth = i % calls;
        (void)test::takeTraces();
        resetLayer(kPresented, static_cast<int>(nth) + 1, i >= calls);
        const test::ResourceWatch watch;
        const bool up = SetUpOpenclMFNR(nullptr) == retStsOK;
        const bool down = CleanOpenclMFNR_AcoreAPI() == retStsOK;
        EXPECT_TRUE(watch.nothingLeft());
        EXPECT_EQ(eisLayerLive(), 0);
        const std::string call = test::callbacks().at(nth);
        SCOPED_TRACE(call);
        EXPECT_EQ(up, nth >= setUpCalls);
        EXPECT_EQ(down, !call.starts_with("clGetProgramInfo"));
        const auto traces = test::takeTraces();
        EXPECT_TRUE(up ? traces.size() == 2 && traces[0].what == traces[1].what : traces.empty());
        Events errors;
        for (const auto& [failing, line] : lines) {
            if (call.starts_with(failing + ' ')) errors.push_back("error" + line);
        }
        if (!down) errors.emplace_back("error [GPU]: CleanOpenclMFNR failed!");
        EXPECT_TRUE(test::errorsWere(errors));
    }
}

TEST_F(Lifecycle, AnyAllocationMayFail) {
    const auto run = [] {
        const int status = SetUpOpenclMFNR(nullptr);
        CleanOpenclMFNR();
        return status;
    };
    const auto failed = [](int status, int /*nth*/) { EXPECT_EQ(status, retStsThreadError); };
    // Foundation, four arrays, devices of two platforms, context, file, lists of binaries and of sizes.
    EXPECT_EQ(test::failEachInTurn({.calls = test::kMalloc, .run = run, .failed = failed}), 11);
}

TEST_F(Lifecycle, BuildsAProgramOrSaysWhyNot) {
    placeFile("source.cl", test::programSource());
    placeFile("empty", "");
    placeFile("no program", "this is no program binary, whatever its name says");
    placeFile("lacking", test::programBinary("-DWITHOUT_BYTE_TO_BIT"));
    placeFile("broken.cl", "__kernel void temporalfilter( {");
    const std::string noFile = "error ERROR: Failed to ";
    const std::string noBinary = "error [GPU]: clCreateProgramWithBinary fail to create program, status = *";
    const std::string noSource = "error [GPU]: clCreateProgramWithSource fail to create program, status = *";
    const std::string noBuild = "error [GPU]: clBuildProgram fail to build program, status = *. build log:\n*";
    // A path, a mode, and a call that fails: the second allocation is the file's.
    const std::tuple<const char*, int, uint32_t, int, Events> cases[] = {
        {"source.cl", 0, 0, 0, {}},
        {"missing", 1, 0, 0, {noFile + "open file 'missing'\n", noBinary}},
        {"empty", 1, 0, 0, {noFile + "check position on file 'empty'\n", noBinary}},
        {"no program", 1, test::kMalloc, 2, {noFile + "allocate memory for file 'no program'\n", noBinary}},
        {"no program", 1, test::kFread, 1, {noFile + "read file 'no program'\n", noBinary}},
        {"no program", 1, 0, 0, {noBinary}},
        {"lacking", 1, 0, 0, {noFile + "create byteToBit. status = -46\n"}},
        {"broken.cl", 0, 0, 0, {noBuild + "error*"}},
        {"missing", 0, 0, 0, {noFile + "open file 'missing'\n", noSource, noBuild}}};
    resetLayer(kPresented);
    OpenCLFoundation* foundation = nullptr;
    ASSERT_EQ(setupOpencl(&foundation, "ARM"), 0);
    for (const auto& [path, mode, calls, nth, log] : cases) {
        test::clearEvents();
        OpenCLAlgoContext* algo = nullptr;
        const test::FailNth fail(calls, nth);
        EXPECT_EQ(setupOpencl_algo(foundation, path, mode, &algo) == 0, log.empty());
        EXPECT_TRUE(logWas(log)) << path;
        EXPECT_EQ(algo != nullptr, log.empty());
        if (algo == nullptr) continue;
        EXPECT_EQ(test::callbacks()[1], "clCreateProgramWithSource Context0 1 ptr null ptr");
        EXPECT_EQ(test::callbacks()[2], "clBuildProgram ProgramWithSource0 2 device0,device1 null null null");
        EXPECT_EQ(releaseProgram(algo), 0);
        std::free(algo);
    }
    cleanOpencl(foundation);
    char* text = ReadProgramText("broken.cl");
    EXPECT_STREQ(text, "__kernel void temporalfilter( {");
    std::free(text);
}

TEST(ProgramInput, NullsAreRefused) {
    OpenCLAlgoContext empty{};
    const std::vector<int> statuses = {cleanOpencl(nullptr),         cleanOpencl_algo(nullptr),
                                       cleanOpencl_algo(&empty),     setupOpencl_algo(nullptr, "", 1, nullptr),
                                       buildProgram(nullptr, "", 1), buildProgram(&empty, "", 1),
                                       releaseProgram(nullptr),      releaseProgram(&empty),
                                       allocParamBuffer(nullptr),    allocParamBuffer(&empty),
                                       releaseParamBuffer(nullptr),  releaseParamBuffer(&empty)};
    EXPECT_EQ(statuses, (std::vector<int>{0, -34, -34, -34, -34, -34, -34, 0, -34, -34, -34, 0}));
    EXPECT_TRUE(logWas(joined(
        {{"info[MFNR_AP] [GPU]: WARNING: cleanOpencl input handle is NULL.\n"},
         eachOf("error [GPU]: ",
                {"cleanOpencl_algo input phandleAlgoOpenCL is NULL.\n",
                 "cleanOpencl_algo OpenCL foundation context is NULL.\n",
                 "setupOpencl_algo input handleOpenCLFoundation is NULL.\n", "buildProgram input pCtxAlgo is NULL.\n",
                 "buildProgram OpenCL foundation context is NULL.\n", "releaseProgram input pCtxAlgo is NULL.\n",
                 "allocParamBuffer input pCtxAlgo is NULL.\n", "allocParamBuffer OpenCL foundation context is NULL.\n",
                 "releaseParamBuffer input pCtxAlgo is NULL.\n"})})));
}

std::string g_seen;

TEST(GpuThread, SeesACopyOfItsParameters) {
    const auto look = [](void* param) -> void* {
        g_seen.assign(static_cast<const char*>(param), 5);
        return nullptr;
    };
    std::vector<char> param(kGpuThreadParamSize + 1, 'p');
    EXPECT_EQ(createGPUThread(look, param.data(), kGpuThreadParamSize + 1), -1);
    {
        const test::FailNth noThread(test::kThreadCreate, 1);
        EXPECT_EQ(createGPUThread(look, nullptr, 0), -1);
    }
    EXPECT_TRUE(
        test::eventsWere({"error [GPU]: Set Thread Param failed, out of size!", "error Thread Create Failed!"}));
    // Behind the copied bytes, and without parameters, the old ones stand; a refused copy clears.
    const std::tuple<void*, int, std::string> cases[] = {{param.data(), kGpuThreadParamSize, "ppppp"},
                                                         {param.data(), 3, "qqqpp"},
                                                         {nullptr, 100, "qqqpp"},
                                                         {param.data(), -1, std::string(5, '\0')}};
    for (const auto& [given, size, seen] : cases) {
        ASSERT_EQ(createGPUThread(look, given, size), 0);
        std::fill(param.begin(), param.end(), 'q');
        EXPECT_EQ(joinGPUThread(), 0);
        EXPECT_EQ(g_seen, seen);
    }
    EXPECT_EQ(test::callbacks(), test::Events(4, "HueFuse GPU thread"));
}

// Every way to end it joins it exactly once, before the context goes.
TEST_F(Lifecycle, ThreadAndContextEndOnce) {
    const auto start = [] { return createGPUThread([](void* param) { return param; }, nullptr, 0); };
    EXPECT_EQ(joinGPUThread(), 0) << "there is none";
    (void)test::takeTraces();
    const test::ResourceWatch watch;
    ASSERT_EQ(start(), 0);
    EXPECT_EQ(joinGPUThread(), -1) << "its result was not null";
    EXPECT_EQ(joinGPUThread(), 0);
    ASSERT_EQ(start(), 0);
    EXPECT_EQ(start(), -1) << "over an unjoined one";
    EXPECT_EQ(start(), -1);
    EXPECT_EQ(joinGPUThread(), -1) << "the stored result";
    ASSERT_EQ(SetUpOpenclMFNR(nullptr), retStsOK);
    ASSERT_EQ(SetUpOpenclMFNR(nullptr), retStsOK);
    ASSERT_EQ(start(), 0);
    EXPECT_EQ(CleanOpenclMFNR_AcoreAPI(), retStsOK);
    EXPECT_EQ(joinGPUThread(), 0);
    EXPECT_TRUE(watch.nothingLeft());

    const std::string unit = "AP_EIS opencl/opencl_ivp_api ";
    const std::string create = unit + "int createGPUThread(void* (*)(void*), void*, int) 0";
    const std::string setUp = unit + "ret_status SetUpOpenclMFNR(void*) ";
    const std::string size = std::to_string(sizeof(OpenCLAlgoContext));
    Events traces;
    for (const auto& trace : test::takeTraces()) traces.push_back(trace.text + " " + std::to_string(trace.size));
    EXPECT_EQ(traces, (Events{"+" + create, "-" + unit + "int joinGPUThread() 0", "+" + create, "-" + create,
                              "+" + setUp + size, "-" + setUp + "0", "+" + setUp + size, "+" + create,
                              "-" + unit + "ret_status CleanOpenclMFNR_AcoreAPI() 0",
                              "-" + unit + "ret_status CleanOpenclMFNR() 0"}));
}

TEST(EglDisplay, OpensOrSaysWhatFailed) {
    EGLContext context = &context;
    EGLDisplay display = nullptr;
    for (test::g_eglFault = 2; test::g_eglFault > 0; --test::g_eglFault) {
        EXPECT_EQ(InitEglDisplay(&display, &context), 0);
    }
    EXPECT_EQ(InitEglDisplay(&display, &context), 1);
    EXPECT_NE(display, nullptr);
    EXPECT_EQ(context, nullptr);
    EXPECT_TRUE(logWas({"error[MFNR_AP] eglInitialize FAILED.\n", "error[MFNR_AP] eglGetDisplay FAILED.\n"}));
}

}  // namespace
}  // namespace eis
