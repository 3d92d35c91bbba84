// eis-lab ghost: where a frame differs from its reference, and would leave ghosts.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <vector>

#include "host/command_line/raw_options.h"
#include "host/dsp/tuning_record.h"
#include "host/lab/commands.h"
#include "host/lab/ghost_detect.h"
#include "host/lab/ghost_overlay.h"
#include "host/lab/ghost_settings.h"
#include "host/lab/ghost_truth.h"
#include "host/picture/picture.h"
#include "host/program/exit_codes.h"
#include "host/program/messages.h"
#include "host/program/progress.h"

namespace eislab {

namespace {

using eishost::HostError;
using eishost::Picture;

struct GhostArguments {
    std::string frame;
    std::string reference;
    std::vector<std::string> words;
    std::string tuning;
    int isoRow = 5;
    bool motion = false;
    eishost::RawOptions raw;
    std::string out;
    std::string overlay;
    bool json = false;
};

// The reference as far as the frame goes: eis-host burst cuts the last rows off where a height is no multiple of 8.
Picture loadReference(const GhostArguments& arguments, const Picture& frame) {
    Picture reference = eishost::loadPicture(arguments.reference, arguments.raw);
    const int more = reference.height - frame.height;
    if (reference.width != frame.width || more < 0 || more >= 8) {
        throw HostError(eishost::kExitUnsuitable, arguments.reference + ": is " + std::to_string(reference.width) +
                                                      "x" + std::to_string(reference.height) + ", but the frame is " +
                                                      std::to_string(frame.width) + "x" + std::to_string(frame.height) +
                                                      "; sizes must agree");
    }
    if (more > 0) {
        eishost::note("the last " + std::to_string(more) + " rows of " + arguments.reference +
                      " are left out, which the frame lacks");
    }
    reference.height = frame.height;
    for (int plane = 0; plane < 3; ++plane) reference.planes[plane].resize(frame.planes[plane].size());
    return reference;
}

// Title and lines of the report, in print and above the overlay.
eishost::Caption report(const GhostArguments& arguments, const GhostSettings& settings, const GhostResult& result,
                        const std::optional<GhostScores>& scores) {
    const auto name = [](const std::string& path) { return std::filesystem::path(path).filename().string(); };
    char text[240];
    eishost::Caption caption;
    caption.title = name(arguments.frame) + " against " + name(arguments.reference);
    std::snprintf(text, sizeof text, "luma %d below %d, %d from there; chroma %d below %d, %d from there",
                  settings.lumaLow, settings.lumaNoise, settings.lumaHigh, settings.chromaLow, settings.chromaNoise,
                  settings.chromaHigh);
    caption.lines = {{"thresholds", text}, {"from", settings.source}};
    std::snprintf(text, sizeof text, "%u pixels by luma, %.2f %% of the picture; masked with chroma and edges: %.2f %%",
                  result.pixels, 100 * result.share, 100 * result.masked());
    caption.lines.push_back({"ghosts", text});
    if (scores) {
        std::snprintf(text, sizeof text, "%.3f of the mover masked, %.2f %% of the filled area falsely", scores->recall,
                      100 * scores->falseArea);
        caption.lines.push_back({"truth", text});
    }
    return caption;
}

void print(const eishost::Caption& report, double milliseconds) {
    std::printf("%s\n", report.title.c_str());
    for (const auto& [label, text] : report.lines) std::printf("  %-11s %s\n", label.c_str(), text.c_str());
    std::printf("  time        %.1f ms\n", milliseconds);
}

void printJson(const GhostArguments& arguments, const GhostSettings& settings, const GhostResult& result,
               const std::optional<GhostScores>& scores) {
    nlohmann::ordered_json json{{"frame", arguments.frame},
                                {"reference", arguments.reference},
                                {"thresholds", settings},
                                {"ghostPixels", result.pixels},
                                {"ghostShare", result.share},
                                {"maskedShare", result.masked()},
                                {"milliseconds", result.milliseconds},
                                {"truth", nullptr}};
    if (scores) json["truth"] = {{"recall", scores->recall}, {"falseArea", scores->falseArea}};
    std::cout << json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << '\n';
}

void runGhost(const GhostArguments& arguments) {
    if (!arguments.out.empty()) eishost::requireBgrOutput(arguments.out);
    if (!arguments.overlay.empty()) eishost::requireBgrOutput(arguments.overlay);
    const GhostSettings settings =
        ghostSettings(arguments.tuning.empty() ? eishost::shippedTuningFile() : arguments.tuning, arguments.isoRow,
                      arguments.motion, arguments.words);
    eishost::Progress progress(4);
    progress.at(0, "reading " + arguments.frame);
    const Picture frame = eishost::loadPicture(arguments.frame, arguments.raw);
    progress.at(1, "reading " + arguments.reference);
    const Picture reference = loadReference(arguments, frame);
    const std::optional<GhostTruth> truth =
        findGhostTruth(arguments.frame, arguments.reference, {frame.width, frame.height});
    progress.at(2, "masking");
    const GhostResult result = detectGhosts(frame, reference, settings);
    std::optional<GhostScores> scores;
    if (truth) scores = scoreGhosts(result.mask, *truth);
    progress.at(3, "writing");
    if (!arguments.out.empty()) eishost::saveBgr(arguments.out, result.mask);
    const eishost::Caption caption = report(arguments, settings, result, scores);
    if (!arguments.overlay.empty()) {
        eishost::saveBgr(arguments.overlay, ghostOverlay(frame, result.mask, truth, caption));
    }
    progress.hide();
    if (arguments.json) {
        printJson(arguments, settings, result, scores);
    } else {
        print(caption, result.milliseconds);
    }
}

}  // namespace

void addGhostCommand(CLI::App& app) {
    auto arguments = std::make_shared<GhostArguments>();
    CLI::App* ghost = app.add_subcommand("ghost", "Masks what moved between an aligned frame and its reference");
    ghost->add_option("FRAME", arguments->frame, "The frame, laid onto the reference by eis-host burst or register")
        ->required();
    ghost->add_option("REF", arguments->reference, "The reference, of equal size")->required();
    ghost->add_option("SETTING", arguments->words,
                      "KEY=VALUE over the row: lumaTH_Low, lumaTH_High, lumaNoiseTH,\n"
                      "chromaTH_Low, chromaTH_High, chromaNoiseTH");
    ghost->add_option("--tuning", arguments->tuning, "Tuning file; the default is the one that comes with the tools");
    ghost->add_option("--iso-row", arguments->isoRow, "Row of the tuning file, 1 to 8")
        ->check(CLI::Range(1, int{kTuningIsoLevels}))
        ->capture_default_str();
    ghost->add_flag("--m", arguments->motion, "Take the luma thresholds from the row's _M keys");
    addRawOptions(*ghost, arguments->raw);
    ghost->add_option("--out", arguments->out, "Write the mask: 0 as the reference, 255 a ghost");
    ghost->add_option("--overlay", arguments->overlay, "Write the frame with ghosts in orange");
    ghost->add_flag("--json", arguments->json, "Print one line of JSON");
    ghost->footer(
        "A difference counts where it exceeds the low threshold on samples below the noise threshold, the high one\n"
        "elsewhere. For a burst of eis-host synth --mover that eis-host burst aligned, the tool also tells which\n"
        "share of the mover is masked, and how much of the area that registration filled is masked besides; the\n"
        "overlay outlines both in white and grey.\n\n"
        "  eis-host synth photo.jpg --noise medium --mover --out b && eis-host burst b/frame_*.png --out b/aligned\n"
        "  eis-lab ghost b/aligned/aligned_01.png b/frame_00.png --overlay ghosts.png");
    ghost->callback([arguments] { runGhost(*arguments); });
}

}  // namespace eislab
