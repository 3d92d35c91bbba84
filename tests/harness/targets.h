// Runs a test under each vector target of the machine.
#pragma once

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <cstdint>

namespace eis::test {

// Calls test once a target that the machine has and kernels are built for; once on a build with a static target.
template <class Test>
void forEachTarget(Test test) {
#ifdef HWY_COMPILE_ONLY_STATIC
    test();
#else
    for (const int64_t target : hwy::SupportedAndGeneratedTargets()) {
        const testing::ScopedTrace trace(__FILE__, __LINE__, hwy::TargetName(target));
        hwy::SetSupportedTargetsForTest(target);
        hwy::GetChosenTarget().Update(target);
        test();
        hwy::SetSupportedTargetsForTest(0);
        hwy::GetChosenTarget().DeInit();
    }
#endif
}

}  // namespace eis::test
