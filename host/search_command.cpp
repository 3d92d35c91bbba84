#include <CLI/CLI.hpp>
#include <cstdio>
#include <iostream>
#include <memory>

#include "host/commands.h"
#include "host/exit_codes.h"
#include "host/row_search.h"

namespace eishost {

namespace {

struct SearchArguments {
    std::vector<std::string> files;
    std::vector<std::string> assignments;
    int row = 1;
};

std::vector<NoisyPair> loadPairs(const std::vector<std::string>& files) {
    if (files.size() % 2 != 0) throw HostError(kExitUsage, "want pairs of pictures: NOISY CLEAN NOISY CLEAN ...");
    std::vector<NoisyPair> pairs;
    for (std::size_t i = 0; i < files.size(); i += 2) {
        pairs.push_back({loadPicture(files[i]), loadPicture(files[i + 1])});
        const NoisyPair& pair = pairs.back();
        if (pair.noisy.width != pair.clean.width || pair.noisy.height != pair.clean.height) {
            throw HostError(kExitUnsuitable, files[i] + " and " + files[i + 1] + " differ in size");
        }
    }
    return pairs;
}

void runSearch(const SearchArguments& arguments) {
    const std::vector<NoisyPair> pairs = loadPairs(arguments.files);
    RowCandidate start;
    start.settings.lumaLF = -80;
    start.settings.lumaHF1 = -60;
    start.settings.detail = -80;
    start.settings.chromaS = -61;
    start.chromaThreshold = 4;
    for (const std::string& assignment : arguments.assignments) assignSetting(start.settings, assignment);
    const RowCandidate best = searchRow(pairs, start, [](const std::string& line) { std::cerr << line << std::endl; });
    const RowScore score = scoreRow(pairs, best.settings);
    std::fprintf(stderr, "luma %+.2f dB, chroma %+.2f dB; chroma threshold %g, falling by %g\n", score.luma,
                 score.chroma, best.chromaThreshold, best.chromaFall);
    std::cout << rowXml(best.settings, arguments.row);
}

}  // namespace

void addSearchCommand(CLI::App& app) {
    auto arguments = std::make_shared<SearchArguments>();
    CLI::App* command = app.add_subcommand("search", "Finds the denoise row that fits pictures of known noise");
    command->add_option("FILES", arguments->files, "NOISY CLEAN NOISY CLEAN ..., like the frames of eis-host synth")
        ->required();
    command->add_option("--set", arguments->assignments, "KEY=VALUE of eis-host denoise to start from");
    command->add_option("--row", arguments->row, "Number of the row to print")
        ->check(CLI::Range(1, int{kTuningIsoLevels}));
    command->footer(
        "Climbs the mean gain of PSNR, one setting at a time, and prints the row as a tuning file spells it. Judge "
        "the\n"
        "row on other photographs than it was found on.\n\n"
        "  eis-host search b/frame_00.png b/clean_00.png --row 4");
    command->callback([arguments] { runSearch(*arguments); });
}

}  // namespace eishost
