// eis-lab stages: what each step of denoising does.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <opencv2/imgproc.hpp>

#include "host/command_line/raw_options.h"
#include "host/dsp/tuning_record.h"
#include "host/lab/commands.h"
#include "host/lab/stages.h"
#include "host/program/exit_codes.h"
#include "host/program/output_file.h"
#include "host/report/frame_report.h"
#include "host/report/page_pictures.h"

namespace eislab {

namespace {

using eishost::HostError;
using eishost::Picture;

constexpr int kShownWidth = 400;
constexpr int kShownHeight = 300;
constexpr int kLeastSide = 128;

struct StagesArguments {
    std::string input;
    std::string folder;
    std::vector<std::string> assignments;
    std::string tuning;
    int isoRow = 5;
    std::vector<int> at;
    eishost::RawOptions raw;
};

// The passes take no other sizes; the last columns and rows are left out.
Picture cutToSteps(const Picture& picture) {
    Picture cut(picture.width & ~3, picture.height & ~15);
    cut.range = picture.range;
    for (int plane = 0; plane < 3; ++plane) {
        cv::Mat to = cut.mat(plane);
        picture.mat(plane)({0, 0, to.cols, to.rows}).copyTo(to);
    }
    return cut;
}

// Around the middle of the most textured part, unless its upper left corner is given.
cv::Rect areaOf(const StagesArguments& arguments, const Picture& picture) {
    const int width = std::min(kShownWidth, picture.width);
    const int height = std::min(kShownHeight, picture.height & ~3);
    cv::Point corner;
    if (arguments.at.empty()) {
        const cv::Rect place = eishost::pickPagePlaces(picture.mat(0), {}).front().area;
        corner = (place.tl() + place.br()) / 2 - cv::Point(width, height) / 2;
    } else {
        corner = {arguments.at[0], arguments.at[1]};
    }
    const int x = std::clamp(corner.x, 0, picture.width - width) & ~3;
    const int y = std::clamp(corner.y, 0, picture.height - height) & ~3;
    return {x, y, width, height};
}

void runStagesCommand(const StagesArguments& arguments) {
    const std::string file = arguments.tuning.empty() ? eishost::shippedTuningFile() : arguments.tuning;
    eishost::DenoiseSettings settings;
    eishost::takeRow(settings, file, arguments.isoRow, nullptr, nullptr);
    for (const std::string& word : arguments.assignments) eishost::assignSetting(settings, word);
    const Picture whole = eishost::loadPicture(arguments.input, arguments.raw);
    if (std::min(whole.width, whole.height) < kLeastSide) {
        throw HostError(eishost::kExitUnsuitable, arguments.input + ": too small, denoising starts at 128x128");
    }
    const Picture picture = cutToSteps(whole);
    const cv::Rect area = areaOf(arguments, picture);
    const StageRun run = runStages(picture, settings, area);

    const std::filesystem::path folder(arguments.folder);
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) throw HostError(eishost::kExitUnwritable, arguments.folder + ": cannot be made: " + error.message());
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const Stage& stage : run.stages) {
        cv::Mat bgr = stage.shown;
        if (bgr.channels() == 1) cv::cvtColor(stage.shown, bgr, cv::COLOR_GRAY2BGR);
        const std::string name = stage.name + ".png";
        eishost::saveBgr((folder / name).string(), bgr);
        list.push_back({{"title", stage.title}, {"text", stage.text}, {"file", name}});
    }
    const std::string about = std::filesystem::path(arguments.input).filename().string() + ", " +
                              std::to_string(area.width) + " × " + std::to_string(area.height) + " at " +
                              std::to_string(area.x) + ", " + std::to_string(area.y) +
                              "; settings: " + eishost::describeSettings(settings);
    const nlohmann::ordered_json all{{"picture", arguments.input}, {"about", about}, {"stages", list}};
    eishost::saveFile((folder / "stages.json").string(),
                      all.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n");
    std::printf("%zu pictures and stages.json are in %s\n", run.stages.size(), arguments.folder.c_str());
}

}  // namespace

void addStagesCommand(CLI::App& app) {
    auto arguments = std::make_shared<StagesArguments>();
    CLI::App* stages = app.add_subcommand("stages", "Shows what each step of denoising does to a part of a picture");
    stages->add_option("IN", arguments->input, "Picture")->required();
    stages->add_option("DIR", arguments->folder, "Folder for a picture of each step, and stages.json")->required();
    stages->add_option("KEY=VALUE", arguments->assignments, "Settings over those of the row, as eis-host denoise");
    stages->add_option("--iso-row", arguments->isoRow, "Row of the tuning file, 1 to 8")
        ->check(CLI::Range(1, int{kTuningIsoLevels}))
        ->capture_default_str();
    stages->add_option("--tuning", arguments->tuning, "Tuning file; the default is the one that comes with the tools");
    stages->add_option("--at", arguments->at, "Upper left corner of the part, X,Y; the default is where much goes on")
        ->expected(2)
        ->delimiter(',');
    addRawOptions(*stages, arguments->raw);
    stages->footer(
        "The passes run on the whole picture at once; SpatialNrHLMain_ACoreApi cuts it into four bands, which differ "
        "in\n"
        "a few rows beside their seams.\n\n"
        "  eis-lab stages noisy.png stages --iso-row 5\n"
        "  eis-host denoise noisy.png clean.png --iso-row 5 --report page --stages stages");
    stages->callback([arguments] { runStagesCommand(*arguments); });
}

}  // namespace eislab
