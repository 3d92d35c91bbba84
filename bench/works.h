// What is timed, by subject.
#pragma once

#include <benchmark/benchmark.h>

#include <string>

namespace eisbench {

void registerDenoiseWorks();
void registerScaleWorks();
void registerRegistrationWorks();

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
