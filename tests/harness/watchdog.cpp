#include "tests/harness/watchdog.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace eis::test {

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(__aarch64__)
constexpr unsigned kWaitSeconds = 120;
#else
constexpr unsigned kWaitSeconds = 20;
#endif

// Changed only while no alarm is set.
char g_message[256];

void onAlarm(int /*signal*/) {
    // Whatever hangs is beyond repair, so nothing is done about a short write.
    if (write(STDERR_FILENO, g_message, std::strlen(g_message)) < 0) _exit(4);
    _exit(3);
}

}  // namespace

unsigned waitSeconds() {
    const char* asked = std::getenv("EIS_WAIT_SECONDS");
    const unsigned long seconds = asked != nullptr ? std::strtoul(asked, nullptr, 10) : 0;
    return seconds != 0 ? static_cast<unsigned>(std::min(seconds, 100000UL)) : kWaitSeconds;
}

Watchdog::Watchdog(const char* what, unsigned seconds) : seconds_(seconds), outerSeconds_(alarm(0)) {
    std::memcpy(outerMessage_, g_message, sizeof g_message);
    const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
    std::snprintf(g_message, sizeof g_message, "watchdog: %s.%s hangs for %u s: %s\n",
                  test != nullptr ? test->test_suite_name() : "", test != nullptr ? test->name() : "", seconds, what);
    signal(SIGALRM, onAlarm);
    alarm(seconds);
}

Watchdog::~Watchdog() {
    const unsigned taken = seconds_ - alarm(0);
    std::memcpy(g_message, outerMessage_, sizeof g_message);
    if (outerSeconds_ != 0) alarm(outerSeconds_ > taken ? outerSeconds_ - taken : 1);
}

}  // namespace eis::test
