// What the readers of the library make of a key's text, in words.
#pragma once

#include <string>
#include <vector>

#include "host/lab/tuning_file.h"

namespace eislab {

struct ValueProblem {
    const char* rule;
    std::string message;
};

// Of the first text of the key's element; none where there is no text.
std::vector<ValueProblem> valueProblems(const TuningFile& file, const KeyReading& reading);

}  // namespace eislab
