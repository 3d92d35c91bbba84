#include "bench/goals.h"

#include <sched.h>
#include <sys/resource.h>
#include <time.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <opencv2/core.hpp>
#include <random>

namespace eisbench {

namespace {

constexpr double kShortestSample = 2.0;  // milliseconds

double milliseconds(Clock clock) {
    const clockid_t id = clock == Clock::kThreadCpu    ? CLOCK_THREAD_CPUTIME_ID
                         : clock == Clock::kProcessCpu ? CLOCK_PROCESS_CPUTIME_ID
                                                       : CLOCK_MONOTONIC;
    timespec now{};
    clock_gettime(id, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) * 1e-6;
}

double minorFaults() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_minflt);
}

// Threads that the body starts inherit the cores.
void pinTo(int cores) {
    cpu_set_t set;
    CPU_ZERO(&set);
    for (int i = 0; i < cores; ++i) CPU_SET(i, &set);
    sched_setaffinity(0, sizeof set, &set);
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

}  // namespace

void Goals::addTiming(const std::string& name, Timing timing) {
    if (timings_.count(name) != 0) return;
    timings_[name].timing = std::move(timing);
    order_.push_back(name);
}

void Goals::addGoal(const std::string& work, const std::vector<std::string>& peers, Limits limits) {
    addGoal(work, work, peers, limits);
}

void Goals::addGoal(const std::string& work, const std::string& timing, const std::vector<std::string>& peers,
                    Limits limits) {
    goals_.push_back({work, timing, peers, options_.avx3 ? limits.avx3 : limits.avx2});
}

void Goals::sample(Samples& samples) {
    const Timing& timing = samples.timing;
    pinTo(timing.cores);
    cv::setNumThreads(timing.cores);
    const double faults = minorFaults();
    const double start = milliseconds(timing.clock);
    for (int i = 0; i < samples.calls; ++i) timing.body();
    samples.milliseconds.push_back((milliseconds(timing.clock) - start) / samples.calls);
    samples.faults.push_back((minorFaults() - faults) / samples.calls);
}

void Goals::measure() {
    // OpenCV's pool counts the cores when it is first used: not while one is pinned.
    cv::setNumThreads(2);
    cv::parallel_for_({0, 2}, [](const cv::Range& /*range*/) {});
    // The first round warms up, and tells which bodies are short.
    for (const std::string& name : order_) {
        Samples& samples = timings_[name];
        sample(samples);
        sample(samples);
        const double once = std::max(samples.milliseconds.back(), 1e-4);
        samples.calls = std::max(1, static_cast<int>(std::ceil(kShortestSample / once)));
        samples.milliseconds.clear();
        samples.faults.clear();
    }
    // In another order each round: what comes right before leaves more or less of one's planes in the caches.
    std::vector<std::string> order = order_;
    std::mt19937 random(1);
    for (int round = 0; round < options_.rounds; ++round) {
        std::shuffle(order.begin(), order.end(), random);
        for (const std::string& name : order) sample(timings_[name]);
        std::fprintf(stderr, "\rround %d of %d", round + 1, options_.rounds);
    }
    std::fprintf(stderr, "\n");
}

double Goals::perUnit(const std::string& timing) const {
    const Samples& samples = timings_.at(timing);
    return median(samples.milliseconds) / samples.timing.units;
}

void Goals::print() const {
    std::printf("Medians of %d rounds, target %s\n\n", options_.rounds, options_.targetName.c_str());
    std::printf("| %-56s | %10s | %8s | %6s |\n|---|---:|---:|---|\n", "Timing", "ms", "faults", "clock");
    for (const std::string& name : order_) {
        const Samples& samples = timings_.at(name);
        const Clock clock = samples.timing.clock;
        std::printf("| %-56s | %10.4f | %8.1f | %6s |\n", name.c_str(), median(samples.milliseconds),
                    median(samples.faults),
                    clock == Clock::kWall         ? "wall"
                    : clock == Clock::kProcessCpu ? "CPU"
                                                  : "thread");
    }
    std::printf("\n| %-50s | %-58s | %6s | %8s | |\n|---|---|---:|---:|---|\n", "Work", "against", "goal", "measured");
    for (const Goal& goal : goals_) {
        const std::string* best = &goal.peers.front();
        for (const std::string& peer : goal.peers) {
            if (perUnit(peer) < perUnit(*best)) best = &peer;
        }
        const double ratio = perUnit(goal.timing) / perUnit(*best);
        std::printf("| %-50s | %-58s | %6.3f | %8.3f | %s |\n", goal.work.c_str(), best->c_str(), goal.limit, ratio,
                    ratio <= goal.limit ? "met" : "missed");
    }
}

}  // namespace eisbench
