// What the reader accepts in silence and a human should know.
#pragma once

#include <string>
#include <vector>

#include "host/lab/tuning_file.h"

namespace eislab {

struct Finding {
    int line;  // 0 where it concerns the whole file
    int column;
    std::string key;   // "NoiseReduction/ISO1/lumaMed", or as much of a path as there is; may be empty
    std::string rule;  // one word for the kind of finding
    std::string message;
};

// Of a file that loads, in the order of their places.
std::vector<Finding> lintTuning(const TuningFile& file);

}  // namespace eislab
