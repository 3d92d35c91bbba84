// A reporter that remembers timings and prints them as ratios to a peer of the same run.
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace eisbench {

// Benchmarks are named "work/who": every other row of a work is compared with its row of ours, "work/eis".
class RatioReporter : public benchmark::ConsoleReporter {
  public:
    void ReportRuns(const std::vector<Run>& runs) override;
    void printRatios() const;

  private:
    std::map<std::string, std::map<std::string, double>> milliseconds_;
};

}  // namespace eisbench
