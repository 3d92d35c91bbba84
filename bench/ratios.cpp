#include "bench/ratios.h"

#include <cstdio>

namespace eisbench {

void RatioReporter::ReportRuns(const std::vector<Run>& runs) {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
        const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
        const bool only = run.run_type == Run::RT_Iteration && run.repetitions <= 1;
        if (run.error_occurred || !(median || only)) continue;
        const std::string name = run.run_name.function_name;
        const size_t slash = name.rfind('/');
        if (slash == std::string::npos) continue;
        milliseconds_[name.substr(0, slash)][name.substr(slash + 1)] =
            run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit) * 1000;
    }
}

void RatioReporter::printRatios() const {
    std::printf("\n%-44s %-24s %10s %10s %10s\n", "work", "against", "ours ms", "theirs ms", "ours/theirs");
    for (const auto& [work, rows] : milliseconds_) {
        const auto ours = rows.find("eis");
        if (ours == rows.end()) continue;
        for (const auto& [who, theirs] : rows) {
            if (who == "eis") continue;
            std::printf("%-44s %-24s %10.3f %10.3f %10.3f\n", work.c_str(), who.c_str(), ours->second, theirs,
                        ours->second / theirs);
        }
    }
}

}  // namespace eisbench
