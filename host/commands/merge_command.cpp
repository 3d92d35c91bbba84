#include <CLI/CLI.hpp>
#include <cstdio>
#include <iostream>
#include <memory>
#include <opencv2/imgproc.hpp>

#include "host/command_line/call_options.h"
#include "host/command_line/page_options.h"
#include "host/command_line/raw_options.h"
#include "host/commands/commands.h"
#include "host/dsp/tuning_record.h"
#include "host/merge/merge.h"
#include "host/merge/merge_page.h"
#include "host/merge/merge_report.h"
#include "host/program/cpu_time.h"
#include "host/program/exit_codes.h"
#include "host/program/messages.h"
#include "host/program/progress.h"
#include "host/report/settings_origin.h"

namespace eishost {

namespace {

struct MergeArguments {
    std::vector<std::string> inputs;
    std::string output;
    std::string weights = "robust";
    std::string weightMap;
    std::string truth;
    std::string ghosts;
    std::optional<int> isoRow;
    std::string tuning;
    PageOptions page;
    RawOptions raw;
    bool noDenoise = false;
    bool json = false;
    bool trace = false;
    bool log = false;
};

// White where all frames count, and the darker the fewer do.
void saveWeightMap(const std::string& path, const cv::Mat& held, int frames, const Picture& picture) {
    cv::Mat grey;
    held.convertTo(grey, CV_8U, 255.0 / frames);
    cv::Mat large;
    cv::resize(grey, large, {picture.width, picture.height}, 0, 0, cv::INTER_NEAREST);
    cv::cvtColor(large, large, cv::COLOR_GRAY2BGR);
    saveBgr(path, large);
}

std::optional<MergeTruth> openTruth(const MergeArguments& arguments, const BurstInput& input) {
    if (arguments.truth.empty()) return std::nullopt;
    std::vector<std::string> names;
    for (const BurstMember& member : input.members()) names.push_back(member.path);
    return MergeTruth(arguments.truth, input.referenceMember().path, names, input.source());
}

MergeOptions completeOptions(const MergeArguments& arguments) {
    MergeOptions options;
    options.weights = arguments.weights == "mean" ? MergeWeights::kMean : MergeWeights::kRobust;
    options.isoRow = arguments.isoRow;
    options.keepMean = !arguments.truth.empty() || !arguments.page.folder.empty();
    if (arguments.trace) options.denoise.trace = &std::cerr;
    if (arguments.log) options.denoise.log = &std::cerr;
    return options;
}

void print(const MergeArguments& arguments, const MergeReport& report, const BurstInput& input,
           const MergeResult& result, const nlohmann::ordered_json& json) {
    std::FILE* const to = arguments.output == "-" ? stderr : stdout;  // standard output may be the picture
    if (arguments.json) {
        std::fprintf(to, "%s\n", jsonText(json).c_str());
    } else {
        printMerge(to, report, input, result);
        if (json.contains("report")) {
            std::fprintf(to, "the page is %s\n", json["report"]["file"].get<std::string>().c_str());
        }
    }
}

void runMerge(const MergeArguments& arguments) {
    requirePictureOutput(arguments.output);
    if (!arguments.weightMap.empty()) requireBgrOutput(arguments.weightMap);
    MergeOptions options = completeOptions(arguments);
    MergeReport report{.output = arguments.output,
                       .weightMap = arguments.weightMap,
                       .weights = arguments.weights,
                       .tuningFile = {},
                       .rowGiven = arguments.isoRow.has_value(),
                       .measureCpu = 0,
                       .scores = {}};
    std::optional<ST_CONFIG_XML> tuning;
    if (!arguments.noDenoise) {
        report.tuningFile = arguments.tuning.empty() ? shippedTuningFile() : arguments.tuning;
        tuning = loadTuningRecord(report.tuningFile, options.denoise.trace, options.denoise.log);
        noteRowOrder(*tuning, report.tuningFile);
        options.tuning = &*tuning;
    }

    std::optional<Page> page;
    if (!arguments.page.folder.empty()) {
        page.emplace(arguments.page, "merge", burstTitle(arguments.inputs.front()));
    }
    Progress progress(arguments.inputs.size(), !arguments.trace && !arguments.log);
    std::optional<ToleranceMeasure> tolerance;
    const auto measure = [&](const Picture& reference, const AlignedFrame& frame) {
        if (options.weights == MergeWeights::kMean) return;
        const CpuTimeOf time(report.measureCpu);
        if (!tolerance) tolerance.emplace(reference);
        tolerance->add(frame);
    };
    const auto reading = [&](std::size_t done, const std::string& name) { progress.at(done, name); };
    const BurstInput input(arguments.inputs, arguments.raw,
                           {.trace = options.denoise.trace, .log = options.denoise.log}, arguments.ghosts,
                           {.aligned = measure, .reading = reading});
    progress.hide();
    if (input.source().cutRows() > 0) note(input.source().note());
    if (input.mergeable() == 0) note("nothing to merge with the reference, which is all that the result holds");
    const std::optional<MergeTruth> truth = openTruth(arguments, input);
    const MergeResult result = mergeBurst(input, tolerance, options);
    if (result.row) noteSettings(result.settings);
    const std::vector<StagePicture> stages = stagePictures(input, result);
    if (truth) {
        for (const auto& [name, picture] : stages) report.scores.emplace_back(name, truth->score(picture));
    }
    progress.hide();
    savePicture(arguments.output, stages.back().picture, arguments.raw);
    if (!arguments.weightMap.empty()) {
        saveWeightMap(arguments.weightMap, result.held, input.mergeable() + 1, input.reference());
    }
    nlohmann::ordered_json json = mergeJson(report, input, result);
    if (page) {
        if (result.row) page->setSettings(settingsOrigins(result.settings, {report.tuningFile, result.row, {}}));
        writeMergePage(*page, input, result, truth ? &*truth : nullptr, json);
        progress.hide();
    }
    print(arguments, report, input, result, json);
}

}  // namespace

void addMergeCommand(CLI::App& app) {
    auto arguments = std::make_shared<MergeArguments>();
    CLI::App* command = app.add_subcommand("merge", "Merges the frames of a burst into one picture and denoises it");
    command
        ->add_option("FRAMES", arguments->inputs,
                     "Reference, then frames of the same size: PNG, JPEG, Y4M, raw with --raw-size.\n"
                     "A Y4M or raw file may hold several. All are read twice")
        ->required();
    command->add_option("--out", arguments->output, "Result: .png, .jpg, .y4m, .yuv, .nv12, .nv21; - for Y4M to a pipe")
        ->required();
    command
        ->add_option("--weights", arguments->weights,
                     "robust: what moved comes from the reference alone; mean: every frame alike")
        ->check(CLI::IsMember({"mean", "robust"}))
        ->capture_default_str();
    command->add_option("--weight-map", arguments->weightMap,
                        "Write how many frames each pixel holds: white for all, black for none");
    command->add_option("--ghosts", arguments->ghosts,
                        "Folder of eis-lab ghost masks ghost_NN.png, NN the frame as burst numbers it: where a mask\n"
                        "is not 0 the frame does not count");
    CLI::Option* const off = command->add_flag("--no-denoise", arguments->noDenoise, "Only merge");
    command
        ->add_option("--iso-row", arguments->isoRow,
                     "Row of the tuning file for one frame, 1 to 8; the default follows the noise that is measured")
        ->check(CLI::Range(1, int{kTuningIsoLevels}))
        ->excludes(off);
    command->add_option("--tuning", arguments->tuning, "Tuning file; the default is the one that comes with the tools")
        ->excludes(off);
    command->add_option("--truth", arguments->truth,
                        "Folder of eis-host synth: score the result against its truth.json");
    addPageOptions(*command, arguments->page);
    addRawOptions(*command, arguments->raw, RawUse::kReadAndWrite);
    command->add_flag("--json", arguments->json, "Print one line of JSON");
    command->add_flag("--trace", arguments->trace, "Print each address conversion, invalidate and flush to stderr");
    command->add_flag("--log", arguments->log, "Print the library's log to stderr");
    addRecordOption(*command);
    command->footer(
        "Each frame is registered by Ransac_Regis_AcoreAPI_EIS. What cannot be read or used, or what the library\n"
        "refuses, is named and left out; with no frame left the reference is denoised alone, and the exit code is 0.\n"
        "Noise, weights, the filter of the mean and what denoising may change are all measured on the burst.\n\n"
        "  eis-host merge IMG_01.jpg IMG_02.jpg IMG_03.jpg IMG_04.jpg --out merged.png\n"
        "  eis-host synth photo.jpg --frames 8 --noise medium --mover --out b\n"
        "  eis-host merge b/frame_*.png --out merged.png --truth b --weight-map held.png");
    command->callback([arguments] { runMerge(*arguments); });
}

}  // namespace eishost
