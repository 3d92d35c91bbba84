// What is wrong with a call's block.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/dsp/block_fields.h"

namespace eislab {

// One line for each thing that cannot be: sizes out of the entry's range, strides off the grid, addresses of 0, and
// written areas that overlap others; where the memory is known, addresses in no buffer and areas that leave theirs,
// too.
std::vector<std::string> blockFaults(std::string_view entry, const std::vector<eishost::BlockValue>& values,
                                     const eishost::DeviceBytes& memory, bool memoryIsKnown);

}  // namespace eislab
