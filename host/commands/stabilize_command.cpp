#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <utility>

#include "host/command_line/call_options.h"
#include "host/command_line/raw_options.h"
#include "host/commands/commands.h"
#include "host/motion/least_zoom.h"
#include "host/motion/stabilizer.h"
#include "host/motion/steady_page.h"
#include "host/motion/steady_report.h"
#include "host/program/exit_codes.h"
#include "host/program/messages.h"
#include "host/program/progress.h"
#include "host/video/frame_files.h"
#include "host/video/y4m_stream.h"

namespace eishost {

namespace {

constexpr char kLeast[] = "least";
constexpr double kMostZoom = 2;

struct StabilizeArguments {
    std::string input;
    std::string output;
    std::string zoom = "1.085";
    std::string margin = "none";
    PathOptions path;
    RawOptions raw;
    std::string page;
    bool force = false;
    bool json = false;
    CallStreams show;
};

// Of a zoom as a number; "least" stays for the first pass.
double parseZoom(const StabilizeArguments& arguments) {
    char* end = nullptr;
    const double zoom = std::strtod(arguments.zoom.c_str(), &end);
    if (*end != '\0' || !(zoom >= 1) || zoom > kMostZoom) {
        throw HostError(kExitUsage, "--zoom '" + arguments.zoom + "': want a number from 1 to 2, or least");
    }
    if (zoom == 1 && arguments.margin != "mirror") {
        throw HostError(kExitUsage, "--zoom 1 leaves a frame no room to move; give --margin mirror, or a larger zoom");
    }
    return zoom;
}

StabilizerOptions completeOptions(const StabilizeArguments& arguments) {
    StabilizerOptions options;
    options.path = arguments.path;
    options.path.mirror = arguments.margin == "mirror";
    options.trace = arguments.show.trace;
    options.log = arguments.show.log;
    if (arguments.zoom != kLeast) {
        options.path.zoom = parseZoom(arguments);
        return options;
    }
    if (arguments.input == "-") throw HostError(kExitUsage, "--zoom least reads the clip twice, and so needs a file");
    if (options.path.mirror) throw HostError(kExitUsage, "--zoom least has no margin that could be mirrored");
    if (options.path.kind != PathKind::kGaussian) {
        throw HostError(kExitUsage, "--zoom least is for a path that --smooth makes");
    }
    return options;
}

// Tells how fast the work goes.
class Pace {
  public:
    Pace(Progress& progress, std::string what, std::optional<std::size_t> frames)
        : progress_(progress), what_(std::move(what)), total_(frames.value_or(0)) {}

    void step() {
        ++done_;
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start_;
        char rate[40];
        std::snprintf(rate, sizeof rate, ", %.0f frames/s", static_cast<double>(done_) / passed.count());
        progress_.at(done_, total_, what_ + rate);
    }

  private:
    Progress& progress_;
    std::string what_;
    std::size_t total_;
    std::size_t done_ = 0;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

void findZoom(const StabilizeArguments& arguments, StabilizerOptions& options, Progress& progress) {
    ClipInput input(arguments.input, arguments.raw);
    Pace pace(progress, "measuring the path", input.framesLeft());
    options.path.zoom = leastZoom(options, [&] {
        pace.step();
        try {
            return input.next();
        } catch (const HostError&) {
            return std::optional<Picture>();  // the second pass meets it again, and tells
        }
    });
    if (options.path.zoom > kMostZoom) {
        throw HostError(kExitUnsuitable, arguments.input + ": shakes so much that no zoom up to 2 hides it");
    }
}

// The JSON document as it grows, a line a frame.
class Report {
  public:
    Report(const StabilizeArguments& arguments, cv::Size frame, double zoom)
        : to_(arguments.output == "-" ? stderr : stdout), json_(arguments.json), summary_(frame, zoom) {}

    void add(const SteadyFrame& frame) {
        if (json_)
            std::fprintf(to_, "%s%s", summary_.frames() == 0 ? "{\"frames\": [\n" : ",\n",
                         frameJson(frame).dump().c_str());
        summary_.add(frame);
    }

    void finish(const StabilizerTimes& times) {
        if (json_) {
            std::fprintf(to_, "%s\"summary\": %s}\n", summary_.frames() == 0 ? "{\"frames\": [], " : "\n], ",
                         summary_.json(times).dump().c_str());
        } else {
            std::fprintf(to_, "%s", summary_.text(times).c_str());
        }
    }

    nlohmann::ordered_json summary(const StabilizerTimes& times) const { return summary_.json(times); }
    void tellPage(const std::string& path) const {
        if (!json_) std::fprintf(to_, "page        %s\n", path.c_str());
    }

  private:
    std::FILE* to_;
    bool json_;
    SteadySummary summary_;
};

std::optional<SteadyPage> openPage(const StabilizeArguments& arguments, const ClipInput& input, cv::Size frame,
                                   double zoom) {
    if (arguments.page.empty()) return std::nullopt;
    const std::string name = arguments.input == "-" ? "standard input" : arguments.input;
    const ClipFormat* const format = input.clipFormat();
    return std::optional<SteadyPage>(std::in_place, arguments.page,
                                     SteadyPage::About{.title = std::filesystem::path(name).filename().string(),
                                                       .rate = format != nullptr ? format->rate() : "30/1",
                                                       .frame = frame,
                                                       .zoom = zoom});
}

void runStabilize(const StabilizeArguments& arguments) {
    StabilizerOptions options = completeOptions(arguments);
    Progress progress(0, arguments.show.areQuiet() && !(arguments.json && arguments.output == "-"));
    if (arguments.zoom == kLeast) findZoom(arguments, options, progress);

    ClipInput input(arguments.input, arguments.raw);
    Pace pace(progress, "steadying", input.framesLeft());
    std::optional<Picture> picture = input.next();
    if (!picture) throw HostError(kExitUnreadable, arguments.input + ": holds no picture");
    const cv::Size size(picture->width, picture->height);
    ClipOutput output(arguments.output, arguments.raw, input, arguments.force);
    Report report(arguments, size, options.path.zoom);
    std::optional<SteadyPage> page = openPage(arguments, input, size, options.path.zoom);
    Stabilizer stabilizer(size, options, [&](SteadyFrame&& frame) {
        output.write(frame.picture, frame.fields);
        report.add(frame);
        if (page) page->addOutput(frame);
    });
    std::optional<HostError> damage;
    while (picture) {
        if (page) page->addInput(*picture);
        stabilizer.add(std::move(*picture), input.pictureFields());
        pace.step();
        try {
            picture = input.next();
        } catch (const HostError& error) {
            damage.emplace(error);
            break;
        }
    }
    stabilizer.finish();
    progress.hide();
    const std::size_t kept = damage ? output.finishEarly() : (output.finish(), 0);
    report.finish(stabilizer.times());
    if (page) {
        page->write(report.summary(stabilizer.times()));
        report.tellPage(page->path());
    }
    if (!damage) return;
    throw HostError(damage->code, damage->what() + ("; the output holds the " + std::to_string(kept)) +
                                      (kept == 1 ? " picture" : " pictures") + " before it");
}

void addPathOptions(CLI::App& command, StabilizeArguments& arguments) {
    command
        .add_option("--zoom", arguments.zoom,
                    "How much larger the frame is than what is shown of it, 1 to 2; the path keeps its edges out of\n"
                    "sight. least: the least one at which --smooth does, by a first pass over a file")
        ->capture_default_str();
    command
        .add_option("--margin", arguments.margin,
                    "mirror: what lies outside of the frame is its mirror image, so that --zoom may be 1")
        ->check(CLI::IsMember({"none", "mirror"}));
    auto* const smooth = command
                             .add_option("--smooth", arguments.path.smooth,
                                         "Smooth the camera's path by a Gaussian of so many frames' standard deviation")
                             ->check(CLI::Range(0.5, 300.0))
                             ->capture_default_str();
    const auto addKind = [&](const char* name, PathKind kind, const char* help) {
        return command
            .add_flag_callback(
                name, [&arguments, kind] { arguments.path.kind = kind; }, help)
            ->excludes(smooth);
    };
    auto* const optimal = addKind("--optimal", PathKind::kOptimal,
                                  "A path that stands still, moves evenly or changes its speed evenly, stretch by "
                                  "stretch (L1-optimal),\nin place of the smoothed one");
    addKind("--tripod", PathKind::kStill, "The camera is meant to stand still")->excludes(optimal);
    command
        .add_option("--lookahead", arguments.path.lookahead,
                    "Frames that are read ahead and held in memory; fewer make a path less smooth")
        ->check(CLI::Range(4, 600))
        ->capture_default_str();
}

}  // namespace

void addStabilizeCommand(CLI::App& app) {
    auto arguments = std::make_shared<StabilizeArguments>();
    CLI::App* command = app.add_subcommand("stabilize", "Steadies a shaky clip");
    command->add_option("IN", arguments->input, "Clip: Y4M, raw with --raw-size, a folder of PNG or JPEG, - for a pipe")
        ->required();
    command->add_option("OUT", arguments->output, "Result: .y4m, .yuv, .nv12, .nv21, a folder, - for Y4M to a pipe")
        ->required();
    addPathOptions(*command, *arguments);
    addRawOptions(*command, arguments->raw, RawUse::kReadAndWrite);
    command->add_option(
        "--report", arguments->page,
        "Folder for a page, index.html, that shows both clips side by side (as a video where ffmpeg is\n"
        "installed), the camera's path before and after, and the frames that could not be steadied");
    command->add_flag("--force", arguments->force, "Replace an earlier run's pictures in the folder OUT");
    command->add_flag("--json", arguments->json, "Print motion and correction of each frame, and the sums, as JSON");
    addCallStreams(*command, arguments->show);
    command->footer(
        "The clip keeps its size, frame rate and tags, and is read and written as it comes. A scene cut begins a new\n"
        "path; where the frames do not tell a motion, the camera is taken to move on. The report goes to stderr when\n"
        "OUT is -.\n\n"
        "  ffmpeg -i shaky.mp4 -f yuv4mpegpipe - | eis-host stabilize - - | ffmpeg -i - steady.mp4\n"
        "  eis-host stabilize shaky.y4m steady.y4m --tripod\n"
        "  eis-host stabilize shaky.y4m steady.y4m --zoom 1 --margin mirror --smooth 15");
    command->callback([arguments] { runStabilize(*arguments); });
}

}  // namespace eishost
