// What is timed, by subject.
#pragma once

#include <benchmark/benchmark.h>

#include <string>

#include "bench/goals.h"

namespace eisbench {

void registerDenoiseWorks();
void registerGhostWorks();
void registerScaleWorks();
void registerRegistrationWorks();
void registerTuningWorks();

void addScaleGoals(Goals& goals);
void addRegistrationGoals(Goals& goals);
void addDenoiseGoals(Goals& goals);
void addControlGoals(Goals& goals);

// A copy of the planes of a 4000x3000 frame with padded rows: what memory allows. On one core or two.
std::string addFrameCopy(Goals& goals, int cores);

inline std::string sizeName(int width, int height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

// Registers one row: `who` doing `work`.
template <class Body>
void addRow(const std::string& work, const std::string& who, Body body) {
    benchmark::RegisterBenchmark((work + "/" + who).c_str(),
                                 [body](benchmark::State& state) {
                                     for (auto _ : state) body();
                                 })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
}

}  // namespace eisbench
