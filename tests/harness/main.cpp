// The main function of every test program: each test starts with an empty journal and under the watchdog.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "tests/harness/events.h"

namespace eis::test {

namespace {

constexpr unsigned kTestSeconds = 240;
char g_message[256];

void onAlarm(int /*signal*/) {
    // Whatever hangs is beyond repair, so nothing is done about a short write.
    if (write(STDERR_FILENO, g_message, std::strlen(g_message)) < 0) _exit(4);
    _exit(3);
}

class PerTest : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo& test) override {
        const std::string message = std::string("watchdog: ") + test.test_suite_name() + "." + test.name() + " hangs\n";
        std::strncpy(g_message, message.c_str(), sizeof g_message - 1);
        alarm(kTestSeconds);
        clearEvents();
    }
    void OnTestEnd(const testing::TestInfo& /*test*/) override { alarm(0); }
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
    signal(SIGALRM, eis::test::onAlarm);
    // The unit-test framework takes the listener over.
    testing::UnitTest::GetInstance()->listeners().Append(new eis::test::PerTest);
    return RUN_ALL_TESTS();
}
