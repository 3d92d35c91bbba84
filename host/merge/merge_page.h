// The page of a merged burst.
#pragma once

#include <nlohmann/json.hpp>

#include "host/merge/merge.h"
#include "host/merge/merge_truth.h"
#include "host/report/page.h"

namespace eishost {

// Shows the stages of merging, each frame, and how many frames each place holds, and writes the page; the frames are
// read once more for it. `truth` may be null. `json` is what --json prints; it gets what was measured, as "report".
// HostError(kExitUnwritable), and as reading does.
void writeMergePage(Page& page, const BurstInput& input, const MergeResult& result, const MergeTruth* truth,
                    nlohmann::ordered_json& json);

}  // namespace eishost
