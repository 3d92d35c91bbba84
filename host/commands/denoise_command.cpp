#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <utility>

#include "host/command_line/call_options.h"
#include "host/command_line/page_options.h"
#include "host/command_line/raw_options.h"
#include "host/commands/commands.h"
#include "host/dsp/denoise_call.h"
#include "host/dsp/tuning_record.h"
#include "host/picture/before_after.h"
#include "host/picture/metrics.h"
#include "host/program/exit_codes.h"
#include "host/program/progress.h"
#include "host/report/frame_report.h"
#include "host/report/settings_origin.h"
#include "host/video/picture_stream.h"

namespace eishost {

namespace {

struct DenoiseArguments {
    std::string input;
    std::string output;
    std::vector<std::string> assignments;
    std::optional<int> isoRow;
    std::string tuning;
    std::string chromaOnly;
    std::string mask;
    std::string beforeAfter;
    std::string truth;
    PageOptions page;
    RawOptions raw;
    bool json = false;
    CallStreams show;
};

DenoiseSettings completeSettings(const DenoiseArguments& arguments, const DenoiseOptions& options) {
    DenoiseSettings settings;
    if (arguments.isoRow) {
        const std::string file = arguments.tuning.empty() ? shippedTuningFile() : arguments.tuning;
        takeRow(settings, file, *arguments.isoRow, options.trace, options.log);
    } else if (!arguments.tuning.empty()) {
        throw HostError(kExitUsage, "--tuning needs --iso-row: which of its rows?");
    } else if (arguments.assignments.empty()) {
        throw HostError(kExitUsage, "what strength? Give --iso-row N or KEY=VALUE");
    }
    for (const std::string& assignment : arguments.assignments) assignSetting(settings, assignment);
    noteSettings(settings);
    return settings;
}

DenoiseOptions completeOptions(const DenoiseArguments& arguments) {
    DenoiseOptions options;
    if (arguments.chromaOnly == "high") options.entry = DenoiseEntry::kChromaHigh;
    if (arguments.chromaOnly == "low") options.entry = DenoiseEntry::kChromaLow;
    if (!arguments.mask.empty()) {
        if (options.entry != DenoiseEntry::kChromaLow) {
            throw HostError(kExitUsage, "--mask: only --chroma-only low follows a motion mask");
        }
        cv::extractChannel(loadBgr(arguments.mask), options.mask, 0);
    }
    options.trace = arguments.show.trace;
    options.log = arguments.show.log;
    return options;
}

struct Gain {
    PictureQuality before;
    PictureQuality after;
};

Gain measure(const Picture& before, const Picture& after, const Picture& truth, const std::string& truthName) {
    if (truth.width != before.width || truth.height != before.height) {
        throw HostError(kExitUnsuitable, truthName + ": has " + std::to_string(truth.width) + "x" +
                                             std::to_string(truth.height) + ", the picture " +
                                             std::to_string(before.width) + "x" + std::to_string(before.height));
    }
    const cv::Rect all(0, 0, before.width, before.height);
    return {pictureQuality(before, truth, all), pictureQuality(after, truth, all)};
}

// PSNR and SSIM of the three planes, a line each.
std::vector<CaptionLine> gainLines(const Gain& gain) {
    std::vector<CaptionLine> lines;
    for (int plane = 0; plane < 3; ++plane) {
        char text[120];
        std::snprintf(text, sizeof text, "PSNR %s dB, SSIM %.4f > %.4f",
                      gainText(gain.before.psnr[plane], gain.after.psnr[plane]).c_str(), gain.before.ssim[plane],
                      gain.after.ssim[plane]);
        lines.push_back({std::string(1, "YUV"[plane]), text});
    }
    return lines;
}

Caption sheetCaption(const DenoiseArguments& arguments, const DenoiseSettings& settings, const DenoiseOptions& options,
                     const std::optional<Gain>& gain) {
    Caption caption;
    caption.title = std::filesystem::path(arguments.input).filename().string() + ", " + entryName(options.entry);
    if (arguments.isoRow) {
        const std::string file = arguments.tuning.empty() ? "the shipped tuning file" : arguments.tuning;
        caption.title += ", row " + std::to_string(*arguments.isoRow) + " of " + file;
    }
    if (gain) caption.lines = gainLines(*gain);
    caption.lines.insert(caption.lines.begin(), {"settings", describeSettings(settings)});
    return caption;
}

nlohmann::ordered_json denoiseJson(const DenoiseArguments& arguments, const DenoiseSettings& settings,
                                   const DenoiseOptions& options, const DenoiseOutcome& outcome,
                                   const std::optional<Gain>& gain) {
    nlohmann::ordered_json json = {{"input", arguments.input},
                                   {"output", arguments.output},
                                   {"width", outcome.picture.width},
                                   {"height", outcome.picture.height},
                                   {"entry", entryName(options.entry)},
                                   {"milliseconds", outcome.milliseconds},
                                   {"settings", settings}};
    if (gain) json["truth"] = {{"before", nlohmann::json(gain->before)}, {"after", nlohmann::json(gain->after)}};
    return json;
}

void print(const DenoiseArguments& arguments, const nlohmann::ordered_json& json, const std::optional<Gain>& gain) {
    std::FILE* const to = arguments.output == "-" ? stderr : stdout;  // standard output may be the picture
    if (arguments.json) {
        std::fprintf(to, "%s\n", json.dump().c_str());
        return;
    }
    std::fprintf(to, "%dx%d, %s, %.1f ms\n", json["width"].get<int>(), json["height"].get<int>(),
                 json["entry"].get<std::string>().c_str(), json["milliseconds"].get<double>());
    if (gain) {
        for (const auto& [plane, text] : gainLines(*gain)) std::fprintf(to, "  %s  %s\n", plane.c_str(), text.c_str());
    }
}

// What the page shows of the pictures, which it measures on the way.
void fillPage(Page& page, const Picture& before, const Picture& after, const std::optional<Picture>& truth) {
    if (truth) page.setTruth(*truth, {});
    page.addVersion("reference", "Input", before);
    page.addVersion("denoised", "Denoised", after);
}

void runDenoise(const DenoiseArguments& arguments) {
    requirePictureOutput(arguments.output);
    if (!arguments.beforeAfter.empty()) requireBgrOutput(arguments.beforeAfter);
    const DenoiseOptions options = completeOptions(arguments);
    const DenoiseSettings settings = completeSettings(arguments, options);
    std::optional<Picture> truth;
    if (!arguments.truth.empty()) truth = loadPicture(arguments.truth, arguments.raw);

    std::optional<Page> page;
    if (!arguments.page.folder.empty()) {
        page.emplace(arguments.page, "denoise", std::filesystem::path(arguments.input).filename().string());
        const std::string file = arguments.tuning.empty() && arguments.isoRow ? shippedTuningFile() : arguments.tuning;
        page->setSettings(settingsOrigins(settings, {file, arguments.isoRow, arguments.assignments}));
    }
    PictureReader reader(arguments.input, arguments.raw);
    noteInterlacing(reader, arguments.input);
    PictureWriter writer(arguments.output, arguments.raw, reader.clipFormat());
    Progress progress(0, arguments.show.areQuiet());
    progress.at(0, "reading " + arguments.input + ", then denoising and writing");
    std::size_t count = 0;
    nlohmann::json result;
    streamPictures(reader, writer, [&](const Picture& picture) {
        progress.at(count, "denoising, then writing");
        DenoiseOutcome outcome = denoisePicture(picture, settings, options);
        std::optional<Gain> gain;
        if (truth) gain = measure(picture, outcome.picture, *truth, arguments.truth);
        nlohmann::ordered_json json = denoiseJson(arguments, settings, options, outcome, gain);
        if (count == 0 && page) {  // of a clip its first picture
            progress.at(count, "measuring for the page");
            fillPage(*page, picture, outcome.picture, truth);
            json["report"] = page->figures();
            result = json;
        }
        if (count++ == 0 && !arguments.beforeAfter.empty()) {
            saveBgr(arguments.beforeAfter, beforeAfterSheet(picture, outcome.picture, truth ? &*truth : nullptr,
                                                            sheetCaption(arguments, settings, options, gain)));
        }
        progress.hide();
        print(arguments, json, gain);
        progress.at(count, "writing " + arguments.output);
        return std::move(outcome.picture);
    });
    if (!page) return;
    progress.at(count, "writing the page");
    page->write(result);
    progress.hide();
    if (!arguments.json && arguments.output != "-") std::printf("the page is %s\n", page->file().c_str());
}

}  // namespace

void addDenoiseCommand(CLI::App& app) {
    auto arguments = std::make_shared<DenoiseArguments>();
    CLI::App* command = app.add_subcommand("denoise", "Denoises a picture's luma and chroma, or chroma alone");
    command->add_option("IN", arguments->input, "Picture: PNG, JPEG, Y4M, raw with --raw-size, - for a pipe")
        ->required();
    command->add_option("OUT", arguments->output, "Result: .png, .jpg, .y4m, .yuv, .nv12, .nv21; - for Y4M to a pipe")
        ->required();
    command->add_option("KEY=VALUE", arguments->assignments,
                        "Settings, over those of the row or, without --iso-row, over ones that do nothing to luma");
    command->add_option("--iso-row", arguments->isoRow, "Settings from this row of the tuning file, 1 to 8")
        ->check(CLI::Range(1, int{kTuningIsoLevels}));
    command->add_option("--tuning", arguments->tuning, "Tuning file; the default is the one that comes with the tools");
    command
        ->add_option("--chroma-only", arguments->chromaOnly,
                     "high: ChromaHighLevelMainCall_2; low: ChromaLowLevelMainCall_2, which follows --mask")
        ->check(CLI::IsMember({"high", "low"}));
    command->add_option("--mask", arguments->mask, "Motion mask of the picture's size; all 0 when not given");
    command->add_option(
        "--before-after", arguments->beforeAfter,
        "A sheet (.png) of crops at true size: input, output, truth and difference, with settings\nand figures");
    command->add_option("--truth", arguments->truth, "Clean picture of the same size: print PSNR and SSIM");
    addPageOptions(*command, arguments->page);
    addRawOptions(*command, arguments->raw, RawUse::kReadAndWrite);
    command->add_flag("--json", arguments->json, "Print a line of JSON for each picture");
    addCallStreams(*command, arguments->show);
    command->footer(
        denoiseKeyHelp() +
        "\n\nThe keys from lumaNrEnable to iirImgCount are in no tuning file. Sides that the entries do not take "
        "as they are (height\nno multiple of 16, width no multiple of 4) are mirrored on, and cut off "
        "again.\n\n"
        "  eis-host denoise noisy.png clean.png --iso-row 4 --before-after sheet.png\n"
        "  eis-host denoise noisy.png clean.png lumaLF=-80 lumaHF1=0 detail=-60 --truth truth.png --json");
    command->callback([arguments] { runDenoise(*arguments); });
}

}  // namespace eishost
