// What `eis-host merge` tells about its work.
#pragma once

#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "host/merge/merge.h"
#include "host/merge/merge_truth.h"

namespace eishost {

struct MergeReport {
    std::string output;
    std::string weightMap;  // empty when not written
    std::string weights;
    std::string tuningFile;  // empty without denoising
    bool rowGiven = false;
    double measureCpu = 0;  // processor time of measuring while frames were read first, in milliseconds
    std::vector<std::pair<std::string, MergeScores>> scores;  // only with a truth
};

// Everything that is known about a run, for --json and whoever shows it.
nlohmann::ordered_json mergeJson(const MergeReport& report, const BurstInput& input, const MergeResult& result);

void printMerge(std::FILE* to, const MergeReport& report, const BurstInput& input, const MergeResult& result);

}  // namespace eishost
