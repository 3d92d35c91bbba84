#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>

#include "host/command_line/raw_options.h"
#include "host/commands/commands.h"
#include "host/picture/picture.h"
#include "host/program/exit_codes.h"
#include "host/program/output_file.h"
#include "host/program/output_folder.h"
#include "host/program/progress.h"
#include "host/synth/synth.h"
#include "host/synth/synth_clip.h"

namespace eishost {

namespace {

struct SynthArguments {
    std::string photo;
    RawOptions raw;
    std::string folder;
    std::string noise = "none";
    std::string shift = "40";
    std::string size;
    std::string crop;
    bool force = false;
    std::optional<int> frames;
    std::optional<double> rotation;
    std::optional<double> perspective;
    SynthOptions options;
    bool clip = false;
    std::optional<double> shake;
    bool steady = false;
    bool still = false;
    std::optional<int> cut;
};

constexpr int kMostBurstFrames = 99;
constexpr int kMostClipFrames = 100'000;
constexpr int kSmallestClipSide = 64;
constexpr double kUsualShake = 2.8 / 1280;  // of the frame's width
constexpr char kClipName[] = "clip.y4m";

// "40" sets the largest shift, "310,0" the exact one.
void parseShift(const std::string& text, SynthOptions& options) {
    const char* const end = text.data() + text.size();
    if (const std::size_t comma = text.find(','); comma != std::string::npos) {
        cv::Point exact;
        const char* const second = text.data() + comma + 1;
        const auto [stopX, errorX] = std::from_chars(text.data(), second - 1, exact.x);
        const auto [stopY, errorY] = std::from_chars(second, end, exact.y);
        constexpr int kFar = 10000;
        if (errorX == std::errc() && errorY == std::errc() && stopX == second - 1 && stopY == end &&
            std::abs(exact.x) <= kFar && std::abs(exact.y) <= kFar) {
            options.exactShift = exact;
            return;
        }
    } else {
        const auto [stop, error] = std::from_chars(text.data(), end, options.shift);
        if (error == std::errc() && stop == end && options.shift >= 0 && options.shift <= 1000) return;
    }
    throw HostError(kExitUsage, "'" + text + "' is no shift: use the largest one in pixels, or X,Y for exactly that");
}

// "1400x1080+900+900": a part of the photograph, by its size and its upper left corner.
cv::Rect parseCrop(const std::string& text, cv::Size photo) {
    cv::Rect crop;
    int used = 0;
    const bool complete =
        std::sscanf(text.c_str(), "%6dx%6d+%6d+%6d%n", &crop.width, &crop.height, &crop.x, &crop.y, &used) == 4 &&
        static_cast<std::size_t>(used) == text.size();
    if (!complete || crop.width < 1 || crop.height < 1 || crop.x < 0 || crop.y < 0) {
        throw HostError(kExitUsage, "--crop '" + text + "': want WxH+X+Y in pixels, like 1400x1080+900+900");
    }
    if ((crop & cv::Rect(cv::Point(), photo)) != crop) {
        throw HostError(kExitUnsuitable, "--crop '" + text + "' is not inside the photograph of " +
                                             std::to_string(photo.width) + "x" + std::to_string(photo.height));
    }
    return crop;
}

cv::Mat loadPhoto(const SynthArguments& arguments) {
    const cv::Mat photo = loadBgr(arguments.photo, arguments.raw);
    return arguments.crop.empty() ? photo : photo(parseCrop(arguments.crop, photo.size())).clone();
}

std::string describe(const FrameTruth& frame) {
    const cv::Matx33d& h = frame.homography;
    char text[160];
    std::snprintf(text, sizeof text, "%s  rotation %+.3f degrees  corner at (%+.2f, %+.2f)  noise Y %.2f U %.2f V %.2f",
                  frame.frame.c_str(), std::atan2(h(1, 0), h(0, 0)) * 180 / CV_PI, h(0, 2), h(1, 2),
                  frame.noiseSigma[0], frame.noiseSigma[1], frame.noiseSigma[2]);
    return text;
}

SynthOptions completeOptions(const SynthArguments& arguments) {
    SynthOptions options = arguments.options;
    if (arguments.frames) options.frames = *arguments.frames;
    if (options.frames > kMostBurstFrames)
        throw HostError(kExitUsage, "--frames: a burst has up to " + std::to_string(kMostBurstFrames) +
                                        " frames, with --clip there can be more");
    options.noise = parseNoise(arguments.noise);
    parseShift(arguments.shift, options);
    if (!arguments.size.empty()) options.size = parseSize(arguments.size);
    if (options.exactShift) options.rotation = options.perspective = 0;
    if (arguments.rotation) options.rotation = *arguments.rotation;
    if (arguments.perspective) options.perspective = *arguments.perspective;
    return options;
}

nlohmann::json optionsJson(const SynthArguments& arguments, const SynthOptions& options) {
    return {{"frames", options.frames},   {"shift", arguments.shift},
            {"rotate", options.rotation}, {"perspective", options.perspective},
            {"mover", options.mover},     {"size", arguments.size},
            {"crop", arguments.crop}};
}

OutputFolder outputFolder(const SynthArguments& arguments) {
    return {arguments.folder, "truth.json", {"frame", "clean", "mover", kClipName}, arguments.force, {arguments.photo}};
}

ClipOptions clipOptions(const SynthArguments& arguments) {
    ClipOptions options;
    if (arguments.frames) options.frames = *arguments.frames;
    if (!arguments.size.empty()) {
        const PictureSize size = parseSize(arguments.size);
        options.size = {size.width, size.height};
    }
    const auto [width, height] = std::pair(options.size.width, options.size.height);
    if (width % 2 != 0 || height % 2 != 0 || std::min(width, height) < kSmallestClipSide)
        throw HostError(kExitUsage, "--size '" + arguments.size + "': frames of a clip have even sides of at least " +
                                        std::to_string(kSmallestClipSide));
    if (arguments.cut && *arguments.cut >= options.frames)
        throw HostError(kExitUsage, "--cut: the clip ends before that frame");
    options.noise = parseNoise(arguments.noise);
    options.shake = arguments.shake.value_or(kUsualShake * width);
    options.steady = arguments.steady;
    options.still = arguments.still;
    options.cut = arguments.cut;
    options.mover = arguments.options.mover;
    options.moverSize = arguments.options.moverSize;
    options.moverContrast = arguments.options.moverContrast;
    options.seed = arguments.options.seed;
    return options;
}

void runClip(const SynthArguments& arguments) {
    const ClipOptions options = clipOptions(arguments);
    const bool toPipe = arguments.folder == "-";
    std::optional<OutputFolder> folder;
    if (!toPipe) folder.emplace(outputFolder(arguments));
    Progress progress(static_cast<std::size_t>(options.frames));
    progress.at(0, arguments.photo);
    const ClipSynthesiser clip(loadPhoto(arguments), options);
    const std::string photo = std::filesystem::path(arguments.photo).filename().string();
    if (folder) {
        folder->open();
        nlohmann::ordered_json truth{{"clip", kClipName}, {"photo", photo}, {"noise", arguments.noise}};
        truth.update(clipTruth(clip, options));
        saveFile(folder->list(), truth.dump() + '\n');
    }
    PictureWriter writer(folder ? folder->file(kClipName) : "-");
    for (int index = 0; index < options.frames; ++index) {
        progress.at(index, "frame " + std::to_string(index));
        writer.write(pictureFromBgr(clip.frame(index)));
    }
    writer.finish();
    progress.hide();
    std::fprintf(toPipe ? stderr : stdout, "%s: %d frames of %dx%d, shake %.2f px\n", photo.c_str(), options.frames,
                 options.size.width, options.size.height, options.steady ? 0 : options.shake);
}

void runBurst(const SynthArguments& arguments) {
    const SynthOptions options = completeOptions(arguments);
    const OutputFolder folder = outputFolder(arguments);
    Progress progress(static_cast<std::size_t>(options.frames));
    progress.at(0, arguments.photo);
    const BurstSynthesiser burst(loadPhoto(arguments), options);
    folder.open();

    BurstTruth truth;
    truth.photo = std::filesystem::path(arguments.photo).filename().string();
    truth.seed = options.seed;
    truth.noise = arguments.noise;
    truth.width = burst.frameSize().width;
    truth.height = burst.frameSize().height;
    truth.options = optionsJson(arguments, options);
    progress.hide();
    std::cout << truth.photo << ": " << options.frames << " frames of " << truth.width << "x" << truth.height << '\n';
    for (int index = 0; index < options.frames; ++index) {
        FrameTruth frame;
        frame.frame = numberedName("frame", index);
        frame.clean = numberedName("clean", index);
        progress.at(index, frame.frame);
        const NoisyFrame pictures = burst.frame(index);
        frame.homography = burst.homography(index);
        frame.noiseSigma = noiseSigma(pictures);
        frame.mover = burst.mover(index);
        if (frame.mover) frame.moverMask = numberedName("mover", index);
        // The truth first: what an interrupted run leaves is named in it, too.
        truth.frames.push_back(frame);
        saveTruth(arguments.folder, truth);
        if (frame.mover) saveBgr(folder.file(frame.moverMask), burst.moverMask(index));
        saveBgr(folder.file(frame.frame), pictures.noisy);
        saveBgr(folder.file(frame.clean), pictures.clean);
        progress.hide();
        std::cout << describe(frame) << std::endl;
    }
}

// What moves the camera: of a burst, then of a clip.
void addMotionOptions(CLI::App& command, SynthArguments& arguments) {
    CLI::Option* const shift =
        command
            .add_option(
                "--shift", arguments.shift,
                "largest shift in pixels; or X,Y for exactly that, with no rotation and no perspective by default")
            ->capture_default_str();
    CLI::Option* const rotate =
        command.add_option("--rotate", arguments.rotation, "largest rotation in degrees (default 0.5)")
            ->check(CLI::Range(0.0, 30.0));
    CLI::Option* const perspective =
        command
            .add_option("--perspective", arguments.perspective,
                        "largest change of scale from the centre to the edges (default 0.002)")
            ->check(CLI::Range(0.0, 0.05));
    CLI::Option* const clip =
        command
            .add_flag("--clip", arguments.clip, "a clip of 30 frames a second that a hand-held camera takes as it pans")
            ->excludes(shift)
            ->excludes(rotate)
            ->excludes(perspective);
    command
        .add_option("--shake", arguments.shake,
                    "the content's second difference from frame to frame in pixels, root mean square\n"
                    "(default 2.8 at a width of 1280)")
        ->check(CLI::Range(0.0, 100.0))
        ->needs(clip);
    command.add_flag("--steady", arguments.steady, "the same clip without its shake: what it was meant to show")
        ->needs(clip);
    command.add_flag("--still", arguments.still, "no pan: a camera that stands but for its shake")->needs(clip);
    command.add_option("--cut", arguments.cut, "the frame, from 0, that another scene begins with")
        ->check(CLI::Range(1, kMostClipFrames))
        ->needs(clip);
}

}  // namespace

void addSynthCommand(CLI::App& app) {
    CLI::App* const command =
        app.add_subcommand("synth", "Makes a burst or a shaky clip with ground truth from one photograph");
    const auto arguments = std::make_shared<SynthArguments>();
    SynthOptions& options = arguments->options;
    command->add_option("photo", arguments->photo, "PNG, JPEG, Y4M, raw with --raw-size; - for standard input")
        ->required();
    command
        ->add_option("--out", arguments->folder,
                     "folder for frame_NN.png, clean_NN.png and truth.json; for a clip, clip.y4m and truth.json, or -\n"
                     "for standard output and no truth")
        ->required();
    command->add_flag("--force", arguments->force, "remove the burst or clip that an earlier run left in the folder");
    command->add_option("--frames", arguments->frames, "number of frames (default 4, of a clip 120)")
        ->check(CLI::Range(1, kMostClipFrames));
    command->add_option("--noise", arguments->noise, "none, light, medium, strong (a sensor's) or white:SIGMA")
        ->capture_default_str();
    CLI::Option* const mover = command->add_flag(
        "--mover", options.mover, "an object that moves by itself; mover_NN.png shows where, in positions of frame 0");
    command->add_option("--mover-size", options.moverSize, "its size in pixels, for a round one")
        ->check(CLI::Range(8, 4000))
        ->needs(mover);
    command
        ->add_option("--mover-contrast", options.moverContrast,
                     "levels between it and what it covers, instead of a piece of the photograph")
        ->check(CLI::Range(1, 127))
        ->needs(mover);
    command->add_option("--size", arguments->size,
                        "WxH of the frames (of a clip 1280x720); the photograph is made smaller to fit");
    command->add_option("--crop", arguments->crop, "WxH+X+Y: take this part of the photograph only");
    addRawOptions(*command, arguments->raw);
    command->add_option("--seed", options.seed, "of all that is random")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    addMotionOptions(*command, *arguments);
    command->callback([arguments] { arguments->clip ? runClip(*arguments) : runBurst(*arguments); });
}

}  // namespace eishost
