// The main function of every test program: each test starts with an empty journal and under the watchdog.
#include <gtest/gtest.h>

#include <optional>

#include "tests/harness/events.h"
#include "tests/harness/watchdog.h"

namespace eis::test {

namespace {

class PerTest : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo& /*test*/) override {
        watchdog_.emplace("the whole test", 240);
        clearEvents();
    }
    void OnTestEnd(const testing::TestInfo& /*test*/) override { watchdog_.reset(); }

    std::optional<Watchdog> watchdog_;
};

}  // namespace

}  // namespace eis::test

// A size that cannot be had gives null, as it does without a sanitizer.
extern "C" {
__attribute__((visibility("default"))) const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}
__attribute__((visibility("default"))) const char* __tsan_default_options() {
    return "allocator_may_return_null=1";
}
}

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    // The unit-test framework takes the listener over.
    testing::UnitTest::GetInstance()->listeners().Append(new eis::test::PerTest);
    return RUN_ALL_TESTS();
}
