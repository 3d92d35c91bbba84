// The GPU thread: parameters, joins in every order, results.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "include/acore_api.h"
#include "opencl/opencl_ivp_api.h"
#include "tests/harness/calls.h"
#include "tests/harness/events.h"

namespace eis {
namespace {

std::array<char, kGpuThreadParamSize> g_seen;

void* look(void* param) {
    std::copy_n(static_cast<const char*>(param), g_seen.size(), g_seen.begin());
    return nullptr;
}

void* fail(void* param) {
    return param;
}

TEST(GpuThread, SeesACopyOfItsParameters) {
    std::vector<char> param(kGpuThreadParamSize + 1, 'p');
    EXPECT_EQ(createGPUThread(look, param.data(), kGpuThreadParamSize + 1), -1);
    EXPECT_TRUE(test::logWas({"error [GPU]: Set Thread Param failed, out of size!"}));
    // Behind the copied bytes, and without parameters, the old ones stand; a refused copy clears.
    const struct {
        void* param;
        int size;
        std::string seen;
    } cases[] = {{param.data(), kGpuThreadParamSize, "ppppp"},
                 {param.data(), 3, "qqqpp"},
                 {nullptr, 100, "qqqpp"},
                 {param.data(), -1, std::string(5, '\0')}};
    for (const auto& c : cases) {
        ASSERT_EQ(createGPUThread(look, c.param, c.size), 0);
        std::fill(param.begin(), param.end(), 'q');
        EXPECT_EQ(joinGPUThread(), 0);
        EXPECT_EQ(std::string(g_seen.begin(), g_seen.begin() + 5), c.seen);
    }
}

// Every way to end it joins it exactly once.
TEST(GpuThread, IsJoinedOnce) {
    const auto start = [] { return createGPUThread(fail, nullptr, 0); };
    const test::ResourceWatch watch;
    EXPECT_EQ(joinGPUThread(), 0) << "there is none";
    ASSERT_EQ(start(), 0);
    EXPECT_EQ(joinGPUThread(), -1) << "its result was not null";
    EXPECT_EQ(joinGPUThread(), 0);

    ASSERT_EQ(start(), 0);
    EXPECT_EQ(start(), -1) << "over an unjoined one";
    EXPECT_EQ(start(), -1);
    EXPECT_EQ(joinGPUThread(), -1) << "the stored result";
    ASSERT_EQ(start(), 0);
    EXPECT_EQ(start(), -1);
    EXPECT_EQ(CleanOpenclMFNR_AcoreAPI(), retStsOK);
    ASSERT_EQ(start(), 0);
    EXPECT_EQ(CleanOpenclMFNR_AcoreAPI(), retStsOK);
    EXPECT_EQ(joinGPUThread(), 0);
    EXPECT_TRUE(watch.nothingLeft());
}

TEST(GpuThread, EachThreadStartFailing) {
    const auto run = [] {
        const int status = createGPUThread(look, nullptr, 0);
        EXPECT_EQ(joinGPUThread(), 0);
        return status;
    };
    const auto failed = [](int status, int /*nth*/) {
        EXPECT_EQ(status, -1);
        EXPECT_TRUE(test::logWas({"error Thread Create Failed!"}));
    };
    const auto succeeded = [](int status) { EXPECT_EQ(status, 0); };
    EXPECT_EQ(
        test::failEachInTurn({.calls = test::kThreadCreate, .run = run, .failed = failed, .succeeded = succeeded}), 1);
}

}  // namespace
}  // namespace eis
