// Rows that are processed in place in groups of samples, with a second, overlapping sweep over the last group.
#pragma once

#include <cstdint>

namespace eis {

// Calls process(first, count) for the columns of one row: the whole groups, then, when these leave columns over, the
// last `group` columns once more on what is stored by then. A row below one group is done in one go.
template <int group, class Process>
inline void sweepRow(int width, Process process) {
    const int whole = width < group ? width : width - width % group;
    process(0, whole);
    if (whole < width) process(width - group, group);
}

}  // namespace eis
