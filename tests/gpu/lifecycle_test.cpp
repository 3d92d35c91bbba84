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
#include "tests/harness/transcript.h"
#include "tests/harness/watchdog.h"

namespace eis {
namespace {

using test::Events;
using test::kPresented;
using test::logWas;
using test::resetLayer;

// Notes each step with the calls it makes and what it logs.
class Lifecycle : public test::GpuTest {
  protected:
    void TearDown() override {
        if (IsSkipped()) return;
        EXPECT_TRUE(steps_.isAsRecorded());
        GpuTest::TearDown();
    }

    void note(const std::string& step, int result) {
        steps_.add(step, std::to_string(result));
        test::clearEvents();
    }
    void noteLog(const std::string& step, int result) {
        steps_.add(step, std::to_string(result), test::logLines());
        test::clearEvents();
    }

    test::Transcript steps_{EIS_TEST_FOLDER};
};

TEST_F(Lifecycle, EveryCallOfSetUpAndCleanUp) {
    steps_.hide("device0,device1 [0-9]+,[0-9]+ ptr", "device0,device1 SIZE,SIZE ptr");
    note("clean-up of nothing", CleanOpenclMFNR_AcoreAPI());
    note("set-up", SetUpOpenclMFNR(nullptr));
    note("set-up over a live context", SetUpOpenclMFNR(nullptr));
    note("clean-up", CleanOpenclMFNR_AcoreAPI());
    note("clean-up of nothing", CleanOpenclMFNR_AcoreAPI());
    // The architecture key chooses the second program.
    placeFile(test::kArchitectureKey, "");
    noteLog("the second program is not there", SetUpOpenclMFNR(nullptr));
    placeFile(test::kProgramPathV2, test::programBinary(""));
    noteLog("the second program", SetUpOpenclMFNR(nullptr));
    test::g_accessResult = -1;
    noteLog("the key opens, but is not found", SetUpOpenclMFNR(nullptr));
}

TEST_F(Lifecycle, FindsTheVendorsGpu) {
    const EisLayerSettings cases[] = {{.extraVendor = "AR"},
                                      {.vendor = "ARM "},
                                      {.extraVendor = "AR", .realDeviceType = true},
                                      {.noPlatforms = true}};
    for (const EisLayerSettings& settings : cases) {
        resetLayer(settings);
        OpenCLFoundation* foundation = nullptr;
        const int status = setupOpencl(&foundation, "ARM");
        noteLog(foundation != nullptr ? "platform " + std::to_string(foundation->platformIndex) : "none", status);
        cleanOpencl(foundation);
    }
    EXPECT_EQ(SetUpOpenclMFNR(nullptr), retStsThreadError) << "a foundation without a platform has no program";
}

TEST_F(Lifecycle, AnyOpenClCallMayFail) {
    steps_.hide("(num\\w+) = [-0-9]+", "$1 = N");
    resetLayer(kPresented);
    EXPECT_EQ(SetUpOpenclMFNR(nullptr), retStsOK);
    EXPECT_EQ(CleanOpenclMFNR_AcoreAPI(), retStsOK);
    const size_t calls = test::callbacks().size();
    for (size_t i = 0; i < 2 * calls; ++i) {
        const bool keepsObject = i >= calls;
        (void)test::takeTraces();
        resetLayer(kPresented, static_cast<int>(i % calls) + 1, keepsObject);
        const test::ResourceWatch watch;
        const int up = SetUpOpenclMFNR(nullptr);
        const int down = CleanOpenclMFNR_AcoreAPI();
        EXPECT_TRUE(watch.nothingLeft());
        EXPECT_EQ(eisLayerLive(), 0);
        const std::string call = test::callbacks().at(i % calls);
        const auto traces = test::takeTraces();
        EXPECT_TRUE(up == 0 ? traces.size() == 2 && traces[0].what == traces[1].what : traces.empty()) << call;
        steps_.add(call.substr(0, call.find(" Context0 2")) + (keepsObject ? ", which keeps its object" : ""),
                   std::to_string(up) + ", then " + std::to_string(down), test::errorLines());
    }
}

TEST_F(Lifecycle, AnyAllocationMayFail) {
    const auto run = [] {
        const int status = SetUpOpenclMFNR(nullptr);
        CleanOpenclMFNR();
        return status;
    };
    const auto failed = [&](int status, int nth) {
        steps_.add("allocation " + std::to_string(nth), std::to_string(status), test::errorLines());
    };
    // Foundation, four arrays, devices of two platforms, context, file, lists of binaries and of sizes.
    EXPECT_EQ(test::failEachInTurn({.calls = test::kMalloc, .run = run, .failed = failed}), 11);
}

TEST_F(Lifecycle, BuildsAProgramOrSaysWhyNot) {
    // What this machine's compiler makes of it.
    steps_.hide("build log:.*", "build log");
    steps_.hide("program, status = [-0-9]+", "program, status = N");
    steps_.hide("4483 [0-9]+ (ptr|null)", "4483 SIZE $1");
    steps_.hide(",device1 [1-9][0-9]*,[0-9]+ ptr", ",device1 SIZE,SIZE ptr");
    placeFile("source.cl", test::programSource());
    placeFile("empty", "");
    placeFile("no program", "this is no program binary, whatever its name says");
    placeFile("lacking", test::programBinary("-DWITHOUT_BYTE_TO_BIT"));
    placeFile("broken.cl", "__kernel void temporalfilter( {");
    // A path, a mode, and a call that fails: the second allocation is the file's.
    const std::tuple<const char*, int, uint32_t, int> cases[] = {{"source.cl", 0, 0, 0},
                                                                 {"missing", 1, 0, 0},
                                                                 {"empty", 1, 0, 0},
                                                                 {"no program", 1, test::kMalloc, 2},
                                                                 {"no program", 1, test::kFread, 1},
                                                                 {"no program", 1, 0, 0},
                                                                 {"lacking", 1, 0, 0},
                                                                 {"broken.cl", 0, 0, 0},
                                                                 {"missing", 0, 0, 0}};
    resetLayer(kPresented);
    OpenCLFoundation* foundation = nullptr;
    ASSERT_EQ(setupOpencl(&foundation, "ARM"), 0);
    for (const auto& [path, mode, calls, nth] : cases) {
        test::clearEvents();
        OpenCLAlgoContext* algo = nullptr;
        const test::FailNth fail(calls, nth);
        const int status = setupOpencl_algo(foundation, path, mode, &algo);
        EXPECT_EQ(algo == nullptr, status != 0);
        Events events = test::allEvents();
        std::erase_if(events, [](const std::string& event) { return event.starts_with("clCreateKernel"); });
        steps_.add(std::string(path) + (mode == 0 ? " as a source" : " as a binary"), status == 0 ? "built" : "refused",
                   events);
        if (algo == nullptr) continue;
        EXPECT_EQ(releaseProgram(algo), 0);
        std::free(algo);
    }
    cleanOpencl(foundation);
    // Memory that is not zero, so that a missing terminator shows.
    std::vector<std::string>(16, std::string(32, 'x')).clear();
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
    test::Transcript log(EIS_TEST_FOLDER);
    log.add("all of them", "");
    EXPECT_TRUE(log.isAsRecorded());
}

int joinThread() {
    return test::watched("joinGPUThread", joinGPUThread);
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
        EXPECT_EQ(joinThread(), 0);
        EXPECT_EQ(g_seen, seen);
    }
    EXPECT_EQ(test::callbacks(), test::Events(4, "HueFuse GPU thread"));
}

// Every way to end it joins it exactly once, before the context goes.
TEST_F(Lifecycle, ThreadAndContextEndOnce) {
    const auto start = [] {
        return test::watched("createGPUThread joins a thread that was left",
                             [] { return createGPUThread([](void* param) { return param; }, nullptr, 0); });
    };
    EXPECT_EQ(joinThread(), 0) << "there is none";
    (void)test::takeTraces();
    const test::ResourceWatch watch;
    ASSERT_EQ(start(), 0);
    EXPECT_EQ(joinThread(), -1) << "its result was not null";
    EXPECT_EQ(joinThread(), 0);
    ASSERT_EQ(start(), 0);
    EXPECT_EQ(start(), -1) << "over an unjoined one";
    EXPECT_EQ(start(), -1);
    EXPECT_EQ(joinThread(), -1) << "the stored result";
    ASSERT_EQ(SetUpOpenclMFNR(nullptr), retStsOK);
    ASSERT_EQ(SetUpOpenclMFNR(nullptr), retStsOK);
    ASSERT_EQ(start(), 0);
    EXPECT_EQ(test::watched("CleanOpenclMFNR_AcoreAPI", CleanOpenclMFNR_AcoreAPI), retStsOK);
    EXPECT_EQ(joinThread(), 0);
    EXPECT_TRUE(watch.nothingLeft());

    Events traces;
    for (const auto& trace : test::takeTraces()) traces.push_back(trace.text + " " + std::to_string(trace.size));
    steps_.add("traces", "", traces);
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
