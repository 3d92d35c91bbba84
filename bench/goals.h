// The speed goals: all timings of one run take turns in every round, so that a busy moment meets them all, and the
// medians are compared.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <regex>
#include <string>
#include <vector>

namespace eisbench {

enum class Clock { kThreadCpu, kProcessCpu, kWall };

// What is timed: on one core with one thread of OpenCV unless told otherwise. `units` are what one call is worth: goals
// compare times per unit.
struct Timing {
    std::function<void()> body;
    Clock clock = Clock::kThreadCpu;
    int cores = 1;
    double units = 1;
};

// A ratio that is not to be exceeded, by the vector target in use.
struct Limits {
    double avx3;
    double avx2;
};

class Goals {
  public:
    struct Options {
        int rounds = 31;
        bool avx3 = false;       // which of the limits hold
        std::regex only{".*"};   // goals by their work
        std::string targetName;  // printed
    };

    explicit Goals(Options options) : options_(std::move(options)) {}

    // Whether the goal is to be measured: lets the caller leave out what its timings would need.
    bool wanted(const std::string& work) const { return std::regex_search(work, options_.only); }
    // A timing by name; one that is known already stays.
    void addTiming(const std::string& name, Timing timing);
    // `work`, which is also the name of its timing, against the fastest of the peers' timings.
    void addGoal(const std::string& work, const std::vector<std::string>& peers, Limits limits);
    // A goal whose own timing is another goal's.
    void addGoal(const std::string& work, const std::string& timing, const std::vector<std::string>& peers,
                 Limits limits);

    void measure();
    void print() const;

  private:
    struct Samples {
        Timing timing;
        int calls = 1;  // in one sample: short bodies are repeated
        std::vector<double> milliseconds;
        std::vector<double> faults;
    };
    struct Goal {
        std::string work;
        std::string timing;
        std::vector<std::string> peers;
        double limit;
    };

    static void sample(Samples& samples);
    double perUnit(const std::string& timing) const;

    Options options_;
    std::map<std::string, Samples> timings_;
    std::vector<std::string> order_;
    std::vector<Goal> goals_;
};

}  // namespace eisbench
