// A kernel of two lines, built for each vector target, that says which target runs.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tests/selfcheck/targets_test.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace eis::test::HWY_NAMESPACE {
int64_t runningTarget() {
    return HWY_TARGET;
}
}  // namespace eis::test::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include <gtest/gtest.h>

#include <set>

#include "tests/harness/targets.h"

namespace eis::test {
namespace {

HWY_EXPORT(runningTarget);

TEST(Harness, EachTargetRunsOnce) {
    std::set<int64_t> seen;
    int runs = 0;
    forEachTarget([&] {
        seen.insert(HWY_DYNAMIC_DISPATCH(runningTarget)());
        ++runs;
    });
    EXPECT_EQ(seen.size(), runs);
    EXPECT_TRUE(seen.count(HWY_STATIC_TARGET));
#ifndef HWY_COMPILE_ONLY_STATIC
    EXPECT_EQ(seen.size(), hwy::SupportedAndGeneratedTargets().size());
#endif
    // Afterwards the best target runs again.
    EXPECT_EQ(HWY_DYNAMIC_DISPATCH(runningTarget)(), *seen.begin());
}

}  // namespace
}  // namespace eis::test
#endif
