// Findings in the shape of a tuning file: what the lookups of the keys do not reach.
#pragma once

#include <vector>

#include "host/lab/lint.h"

namespace eislab {

// Why "/Config" is not found, when it is not. Then every value is a default.
void checkRoot(const TuningFile& file, std::vector<Finding>& findings);

// Elements below "/Config" that nothing looks up or that another one hides, text and attributes that nothing reads.
void checkTree(const TuningFile& file, std::vector<Finding>& findings);

}  // namespace eislab
