// The page of keys in the documentation.
#pragma once

#include <string>

namespace eislab {

// docs/tuning-keys.md: every key of the tuning file with meaning, unit, useful range, type, default and place in the
// record, and the keys of a denoise call that are in no file.
std::string keyPage();

}  // namespace eislab
