// A limit on time, against hangs. Every test has one of four minutes; where a hang is what could go wrong, take a
// shorter one.
#pragma once

namespace eis::test {

// Ends the program with the test's name when it is still alive after so many seconds.
class Deadline {
  public:
    explicit Deadline(unsigned seconds);
    Deadline(const Deadline&) = delete;
    Deadline& operator=(const Deadline&) = delete;
    ~Deadline();
};

}  // namespace eis::test
