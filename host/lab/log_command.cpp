#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <memory>

#include "host/lab/commands.h"
#include "host/lab/log_calls.h"
#include "host/program/exit_codes.h"

namespace eislab {

namespace {

struct LogArguments {
    std::string file;
    bool tableOnly = false;
};

void printCall(const LoggedCall& call) {
    std::string text = "line " + std::to_string(call.firstLine) + ": " + call.entry;
    if (call.process != 0) text += ", process " + std::to_string(call.process);
    if (call.thread != 0) text += ", thread " + std::to_string(call.thread);
    if (!call.ended) text += ", NO END";
    text += call.status ? ", status " + std::to_string(*call.status) : call.ended ? ", no failure told" : "";
    std::printf("%s\n", text.c_str());
    for (const LoggedTime& time : call.times) std::printf("    %s %g ms\n", time.stage.c_str(), time.milliseconds);
    for (const std::string& reason : call.reasons) std::printf("    %s\n", reason.c_str());
}

// The smallest value that is not below `share` of all.
double ranked(const std::vector<double>& sorted, double share) {
    const auto rank = static_cast<std::size_t>(std::ceil(share * static_cast<double>(sorted.size())));
    return sorted[std::max<std::size_t>(rank, 1) - 1];
}

void printTable(const std::vector<LoggedCall>& calls) {
    std::map<std::string, std::vector<double>> times;
    for (const LoggedCall& call : calls) {
        for (const LoggedTime& time : call.times) {
            times[time.stage == call.entry ? call.entry : call.entry + ", " + time.stage].push_back(time.milliseconds);
        }
    }
    if (times.empty()) return;
    std::printf("%-58s %7s %9s %9s %9s %9s\n", "milliseconds", "calls", "least", "median", "95 %", "largest");
    for (auto& [name, all] : times) {
        std::sort(all.begin(), all.end());
        std::printf("%-58s %7zu %9.1f %9.1f %9.1f %9.1f\n", name.c_str(), all.size(), all.front(), ranked(all, 0.5),
                    ranked(all, 0.95), all.back());
    }
}

void runLog(const LogArguments& arguments) {
    const std::vector<LogLine> lines = readLog(arguments.file);
    if (lines.empty()) {
        throw eishost::HostError(eishost::kExitUnsuitable, arguments.file + ": has no line under EIS_AP or MFNR_AP");
    }
    const std::vector<LoggedCall> calls = groupCalls(lines);
    if (!arguments.tableOnly) {
        for (const LoggedCall& call : calls) printCall(call);
    }
    if (arguments.tableOnly || calls.size() > 1) printTable(calls);
    const auto open = std::count_if(calls.begin(), calls.end(), [](const LoggedCall& call) { return !call.ended; });
    const auto failed =
        std::count_if(calls.begin(), calls.end(), [](const LoggedCall& call) { return call.status.value_or(0) != 0; });
    std::printf("%zu calls, %td failed, %td without an end\n", calls.size(), failed, open);
    if (open != 0) throw CLI::RuntimeError(eishost::kExitFindings);
}

}  // namespace

void addLogCommand(CLI::App& app) {
    auto arguments = std::make_shared<LogArguments>();
    CLI::App* command = app.add_subcommand("log", "Groups a platform log by the library's calls");
    command->add_option("FILE", arguments->file, "The log, - for standard input")->required();
    command->add_flag("--table", arguments->tableOnly, "Only the table of times");
    command->footer(
        "Takes 'logcat -v brief', 'time' and 'threadtime', what the log library prints on standard error, and --log "
        "of\n"
        "eis-host. Each call: its first line, entry, status, times, and why a frame was refused. "
        "RansacEst_AcoreAPI_EIS\n"
        "and CalcShrinkLUTDnCoef log no end: that they were done is told by nothing. Exit 7 when another call has no "
        "end.\n\n"
        "  adb logcat -d -v threadtime | eis-lab log -\n"
        "  eis-host merge b/frame_*.png --out merged.png --log 2> merge.log; eis-lab log merge.log");
    command->callback([arguments] { runLog(*arguments); });
}

}  // namespace eislab
