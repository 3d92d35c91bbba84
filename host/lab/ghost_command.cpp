// eis-lab ghost: where a frame differs from its reference, and would leave ghosts.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <memory>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "host/exit_codes.h"
#include "host/frame_source.h"
#include "host/lab/commands.h"
#include "host/lab/ghost_settings.h"
#include "host/lab/ghost_truth.h"
#include "host/picture.h"
#include "host/raw_options.h"
#include "host/tuning_record.h"
#include "libCore/core/source/neon/GhostDetection_Multithread.h"

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

// A picture's planes as the library wants them, rows at multiples of 128 bytes.
struct PaddedPlanes {
    explicit PaddedPlanes(const Picture& picture) : record{picture.width, picture.height, 0, {}, 0} {
        for (int plane = 0; plane < 3; ++plane) {
            const cv::Mat from = picture.mat(plane);
            padded[plane].create(from.rows, (from.cols + 127) & ~127, CV_8U);
            from.copyTo(padded[plane].colRange(0, from.cols));
            record.pData[plane] = padded[plane].data;
        }
    }
    cv::Mat padded[3];
    eis::ST_PICTURE record;
};

struct GhostResult {
    cv::Mat mask;
    std::uint32_t pixels = 0;
    double milliseconds = 0;

    double share() const { return static_cast<double>(pixels) / static_cast<double>(mask.total()); }
    double masked() const { return cv::countNonZero(mask > 127) / static_cast<double>(mask.total()); }
};

GhostResult detect(const Picture& frame, const Picture& reference, const GhostSettings& settings) {
    const PaddedPlanes framePlanes(frame);
    const PaddedPlanes referencePlanes(reference);
    eis::ST_GHOSTDETECTION_PARAMS_IN in{};
    in.img = framePlanes.record;
    in.imgRef = referencePlanes.record;
    in.ghostEnable = 1;
    in.lumaTH_Low = settings.lumaLow;
    in.lumaTH_High = settings.lumaHigh;
    in.lumaNoiseTH = settings.lumaNoise;
    in.chromaTH_Low = settings.chromaLow;
    in.chromaTH_High = settings.chromaHigh;
    in.chromaNoiseTH = settings.chromaNoise;
    cv::Mat padded(frame.height, (frame.width + 127) & ~127, CV_8U, cv::Scalar(0));
    GhostResult result;
    eis::ST_GHOSTDETECTION_PARAMS_OUT out{padded.data, {}, &result.pixels};
    const auto start = std::chrono::steady_clock::now();
    const ret_status status = eis::GhostDetection_Multithread_Maincall(&in, &out);
    result.milliseconds = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    if (status != retStsOK) {
        throw HostError(eishost::kExitLibrary, "ghost detection failed with status " + std::to_string(status));
    }
    result.mask = padded.colRange(0, frame.width).clone();
    return result;
}

// The frame, darker, with ghosts in orange and the outline of the true object in white; at most 1600 pixels wide.
cv::Mat overlayOf(const Picture& frame, const cv::Mat& mask, const std::optional<GhostTruth>& truth) {
    constexpr int kLargestWidth = 1600;
    const cv::Scalar ghostColour(0, 140, 255);
    const double scale = std::min(1.0, static_cast<double>(kLargestWidth) / frame.width);
    const auto scaled = [&](const cv::Mat& picture) {
        cv::Mat small;
        cv::resize(picture, small, {}, scale, scale, scale < 1 ? cv::INTER_AREA : cv::INTER_LINEAR);
        return small;
    };
    cv::Mat shown = scaled(bgrFromPicture(frame)) * 0.7;
    cv::Mat weight;
    cv::cvtColor(scaled(mask), weight, cv::COLOR_GRAY2BGR);
    const cv::Mat tint(shown.size(), CV_8UC3, ghostColour);
    constexpr double kStrength = 0.6;
    cv::Mat cover;
    cv::multiply(weight, tint, cover, kStrength / 255);
    cv::Mat kept;
    cv::multiply(weight, shown, kept, kStrength / 255);
    shown = shown - kept + cover;
    if (truth) {
        std::vector<std::vector<cv::Point>> outlines;
        cv::findContours(scaled(truth->mover) > 127, outlines, cv::RETR_LIST, cv::CHAIN_APPROX_NONE);
        cv::drawContours(shown, outlines, -1, cv::Scalar::all(255), 2, cv::LINE_AA);
        const cv::Rect& area = truth->filled;
        cv::rectangle(shown, cv::Rect(cv::Point2d(area.tl()) * scale, cv::Point2d(area.br()) * scale),
                      cv::Scalar::all(170), 1);
    }
    return shown;
}

// Why the mask shows what is not in the pictures.
std::string stripeNote(const Picture& frame) {
    if (frame.width % 128 != 0) return {};
    return "the width is a multiple of 128: the last 144 columns or so count as ghosts whatever they hold";
}

void print(const GhostArguments& arguments, const GhostSettings& settings, const GhostResult& result,
           const std::optional<GhostScores>& scores) {
    const auto name = [](const std::string& path) { return std::filesystem::path(path).filename().string(); };
    std::printf("%s against %s\n", name(arguments.frame).c_str(), name(arguments.reference).c_str());
    std::printf("  thresholds  luma %d below %d, %d from there; chroma %d below %d, %d from there\n", settings.lumaLow,
                settings.lumaNoise, settings.lumaHigh, settings.chromaLow, settings.chromaNoise, settings.chromaHigh);
    std::printf("  from        %s\n", settings.source.c_str());
    std::printf("  ghosts      %u pixels by luma, %.2f %% of the picture; masked with chroma and edges: %.2f %%\n",
                result.pixels, 100 * result.share(), 100 * result.masked());
    if (scores) {
        std::printf("  truth       %.3f of the mover masked, %.2f %% of the filled area falsely\n", scores->recall,
                    100 * scores->falseArea);
    }
    std::printf("  time        %.1f ms\n", result.milliseconds);
}

void printJson(const GhostArguments& arguments, const GhostSettings& settings, const GhostResult& result,
               const std::optional<GhostScores>& scores) {
    nlohmann::ordered_json json{{"frame", arguments.frame},
                                {"reference", arguments.reference},
                                {"thresholds", settings},
                                {"ghostPixels", result.pixels},
                                {"ghostShare", result.share()},
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
    eishost::FrameSource source(arguments.raw);
    const Picture reference = source.load(arguments.reference);
    const Picture frame = source.load(arguments.frame);
    for (const std::string& note : {source.note(), stripeNote(frame)}) {
        if (!note.empty()) std::cerr << "eis-lab: note: " << note << '\n';
    }
    const std::optional<GhostTruth> truth =
        findGhostTruth(arguments.frame, arguments.reference, {frame.width, frame.height});
    const GhostResult result = detect(frame, reference, settings);
    std::optional<GhostScores> scores;
    if (truth) scores = scoreGhosts(result.mask, *truth);
    if (!arguments.out.empty()) eishost::saveBgr(arguments.out, result.mask);
    if (!arguments.overlay.empty()) eishost::saveBgr(arguments.overlay, overlayOf(frame, result.mask, truth));
    (arguments.json ? printJson : print)(arguments, settings, result, scores);
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
