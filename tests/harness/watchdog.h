// Ends a test program, at once and as failed, when something takes too long, and says what it was.
#pragma once

namespace eis::test {

// Seconds that a wait for threads may take: EIS_WAIT_SECONDS of the environment where that is set (an emulator, a
// memory checker), else 20, and 120 in a build with a sanitizer or for AArch64, whose tests run emulated.
unsigned waitSeconds();

// Watches while it lives, and names the running test and what it waits for. They nest; on the main thread alone, which
// is where a test waits.
class Watchdog {
  public:
    explicit Watchdog(const char* what, unsigned seconds = waitSeconds());
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;
    ~Watchdog();

  private:
    unsigned seconds_;
    unsigned outerSeconds_;  // that were left to the one around it, 0 where there is none
    char outerMessage_[256];
};

// The result of an action that waits.
template <class Action>
auto watched(const char* what, Action action) {
    const Watchdog watchdog(what);
    return action();
}

}  // namespace eis::test
