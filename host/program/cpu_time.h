// Processor time of this program, all threads together.
#pragma once

#include <ctime>

namespace eishost {

// Milliseconds since the program began.
inline double cpuMilliseconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

// Adds the time from here to the end of the block to `sum`.
class CpuTimeOf {
  public:
    explicit CpuTimeOf(double& sum) : sum_(sum), start_(cpuMilliseconds()) {}
    ~CpuTimeOf() { sum_ += cpuMilliseconds() - start_; }
    CpuTimeOf(const CpuTimeOf&) = delete;
    CpuTimeOf& operator=(const CpuTimeOf&) = delete;

  private:
    double& sum_;
    double start_;
};

}  // namespace eishost
