#include <signal.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <memory>

#include "host/command_line/raw_options.h"
#include "host/commands/commands.h"
#include "host/commands/row_search.h"
#include "host/program/exit_codes.h"
#include "host/program/messages.h"
#include "host/program/progress.h"

namespace eishost {

namespace {

struct SearchArguments {
    std::vector<std::string> files;
    std::vector<std::string> assignments;
    int row = 1;
    RawOptions raw;
};

std::vector<NoisyPair> loadPairs(const std::vector<std::string>& files, const RawOptions& raw) {
    if (files.size() % 2 != 0) throw HostError(kExitUsage, "want pairs of pictures: NOISY CLEAN NOISY CLEAN ...");
    std::vector<NoisyPair> pairs;
    for (std::size_t i = 0; i < files.size(); i += 2) {
        pairs.push_back({loadPicture(files[i], raw), loadPicture(files[i + 1], raw)});
        const NoisyPair& pair = pairs.back();
        if (pair.noisy.width != pair.clean.width || pair.noisy.height != pair.clean.height) {
            throw HostError(kExitUnsuitable, files[i] + " and " + files[i + 1] + " differ in size");
        }
    }
    return pairs;
}

volatile std::sig_atomic_t interrupted = 0;

// Ctrl-C ends the search at its next trial; a second one ends the program.
void catchInterrupt() {
    struct sigaction action {};
    action.sa_handler = [](int) { interrupted = 1; };
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
}

void noteWhatHasNoNoise(const std::vector<NoisyPair>& pairs, const std::vector<std::string>& files) {
    std::vector<std::string> notes;
    bool any = false;
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        std::string without;
        for (int plane = 0; plane < 3; ++plane) {
            if (!pairs[i].hasNoise(plane)) without += std::string(without.empty() ? "" : ", ") + "YUV"[plane];
        }
        any |= without != "Y, U, V";
        if (!without.empty()) {
            notes.push_back(files[2 * i] + ": no noise in " + without + ", left out of the search");
        }
    }
    if (!any) throw HostError(kExitUnsuitable, files[0] + ": no noise in any plane, there is nothing to search by");
    for (const std::string& text : notes) note(text);
}

std::string describe(const SearchResult& result) {
    const auto gain = [](const std::optional<double>& value) {
        char text[40];
        std::snprintf(text, sizeof text, "%+.2f dB", value.value_or(0));
        return value ? std::string(text) : "not searched";
    };
    char thresholds[80];
    std::snprintf(thresholds, sizeof thresholds, "; chroma threshold %g, falling by %g", result.best.chromaThreshold,
                  result.best.chromaFall);
    return "luma " + gain(result.score.luma) + ", chroma " + gain(result.score.chroma) +
           (result.score.chroma ? thresholds : "");
}

void runSearch(const SearchArguments& arguments) {
    const std::vector<NoisyPair> pairs = loadPairs(arguments.files, arguments.raw);
    RowCandidate start;
    start.settings.lumaLF = -80;
    start.settings.lumaHF1 = -60;
    start.settings.detail = -80;
    start.settings.chromaS = -61;
    start.chromaThreshold = 4;
    for (const std::string& assignment : arguments.assignments) assignSetting(start.settings, assignment);
    noteWhatHasNoNoise(pairs, arguments.files);

    SearchResult result;
    {
        Progress progress(0);
        catchInterrupt();
        result = searchRow(pairs, start,
                           {[&progress](const std::string& line) {
                                progress.hide();
                                tell(line);
                            },
                            [&progress](const SearchTrial& trial) {
                                progress.at(trial.done, trial.total, trial.what);
                                return interrupted == 0;
                            }});
    }
    tell((result.ended ? "" : "interrupted; the best row so far: ") + describe(result));
    std::cout << rowXml(result.best.settings, arguments.row) << std::flush;
    if (!result.ended) std::raise(SIGINT);  // the shell learns how this ended
}

}  // namespace

void addSearchCommand(CLI::App& app) {
    auto arguments = std::make_shared<SearchArguments>();
    CLI::App* command = app.add_subcommand("search", "Finds the denoise row that fits pictures of known noise");
    command->add_option("FILES", arguments->files, "NOISY CLEAN NOISY CLEAN ..., like the frames of eis-host synth")
        ->required();
    command->add_option("--set", arguments->assignments, "KEY=VALUE of eis-host denoise to start from; may be repeated")
        ->allow_extra_args(false);
    command->add_option("--row", arguments->row, "Number of the row to print")
        ->check(CLI::Range(1, int{kTuningIsoLevels}));
    addRawOptions(*command, arguments->raw);
    command->footer(
        "Climbs the mean gain of PSNR, one setting at a time, and prints the row as a tuning file spells it. A plane\n"
        "without noise is left out. Ctrl-C ends the search with the best row so far; a second one prints nothing.\n"
        "Judge the row on other photographs than it was found on.\n\n"
        "  eis-host search b/frame_00.png b/clean_00.png --row 4");
    command->callback([arguments] { runSearch(*arguments); });
}

}  // namespace eishost
