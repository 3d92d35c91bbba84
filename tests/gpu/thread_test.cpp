// The GPU thread: parameters, joins in every order, results.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "include/acore_api.h"
#include "opencl/opencl_ivp_api.h"
#include "tests/harness/calls.h"
#include "tests/harness/events.h"

namespace eis {
namespace {

std::vector<char> g_seen;

void* look(void* param) {
    g_seen.assign(static_cast<char*>(param), static_cast<char*>(param) + kGpuThreadParamSize);
    return nullptr;
}

void* fail(void* param) {
    return param;
}

TEST(GpuThread, SeesACopyOfItsParameters) {
    std::vector<char> param(kGpuThreadParamSize + 1, 'p');
    ASSERT_EQ(createGPUThread(look, param.data(), kGpuThreadParamSize), 0);
    std::fill(param.begin(), param.end(), 'q');
    EXPECT_EQ(joinGPUThread(), 0);
    EXPECT_EQ(g_seen, std::vector<char>(kGpuThreadParamSize, 'p'));

    EXPECT_EQ(createGPUThread(look, param.data(), kGpuThreadParamSize + 1), -1);
    EXPECT_TRUE(test::logWas({"error [GPU]: Set Thread Param failed, out of size!"}));

    ASSERT_EQ(createGPUThread(look, param.data(), 3), 0);
    EXPECT_EQ(joinGPUThread(), 0);
    EXPECT_EQ(std::string(g_seen.begin(), g_seen.begin() + 5), "qqqpp");

    ASSERT_EQ(createGPUThread(look, nullptr, 100), 0);
    EXPECT_EQ(joinGPUThread(), 0);
    EXPECT_EQ(g_seen[0], 'q') << "without parameters the old ones stand";

    ASSERT_EQ(createGPUThread(look, param.data(), -1), 0);
    EXPECT_EQ(joinGPUThread(), 0);
    EXPECT_EQ(g_seen, std::vector<char>(kGpuThreadParamSize, 0)) << "a refused copy clears";
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

TEST(GpuThread, ThatCannotStartIsNotJoined) {
    {
        const test::FailNth failing(test::kThreadCreate, 1);
        EXPECT_EQ(createGPUThread(fail, nullptr, 0), -1);
    }
    EXPECT_TRUE(test::logWas({"error Thread Create Failed!"}));
    EXPECT_EQ(joinGPUThread(), 0);
}

}  // namespace
}  // namespace eis
