#include "host/report/page.h"

#include <algorithm>
#include <filesystem>
#include <opencv2/imgproc.hpp>

#include "host/picture/metrics.h"
#include "host/program/exit_codes.h"
#include "host/program/input_file.h"
#include "host/report/frame_report.h"
#include "host/report/machine.h"
#include "host/report/page_text.h"
#include "host/report/page_view.h"

namespace eishost {

namespace {

namespace fs = std::filesystem;

// A page of five versions, four places, eight frames and stages stays below 8 MB.
constexpr int kWholeColumns = 1600;
constexpr std::size_t kWholeBytes = 330'000;
constexpr std::size_t kCropBytes = 220'000;
constexpr std::size_t kStageBytes = 60'000;
constexpr std::size_t kLargeFrames = 8;
constexpr int kFrameColumns = 960;
constexpr std::size_t kFrameBytes = 70'000;
constexpr int kSmallFrameColumns = 320;  // of the frames behind those
constexpr std::size_t kSmallFrameBytes = 10'000;

nlohmann::json rectJson(const cv::Rect& area) {
    return {{"x", area.x}, {"y", area.y}, {"width", area.width}, {"height", area.height}};
}

}  // namespace

std::string burstTitle(const std::string& reference) {
    const fs::path path(reference);
    return (path.parent_path().filename() / path.filename()).generic_string() + " and its burst";
}

Page::Page(const PageOptions& options, const std::string& command, const std::string& title)
    : options_(options), pictures_(options.folder), file_(options.folder) {
    document_ = {{"command", command},
                 {"title", title},
                 {"version", EIS_VERSION},
                 {"machine", machineName()},
                 {"versions", nlohmann::json::array()},
                 {"frames", nlohmann::json::array()},
                 {"settings", nlohmann::json::array()},
                 {"maps", nlohmann::json::array()},
                 {"stages", nullptr}};
    if (!options_.stages.empty()) {
        const std::string list = (fs::path(options_.stages) / "stages.json").string();
        const nlohmann::json stages = nlohmann::json::parse(InputFile(list).readAll(), nullptr, false);
        if (!stages.is_object() || !stages.contains("stages")) {
            throw HostError(kExitUnreadable, list + ": is no list of eis-lab stages");
        }
        document_["stages"] = stages;
    }
}

void Page::setTruth(const Picture& clean, const cv::Mat& mover) {
    truth_ = clean;
    if (mover.empty() || cv::countNonZero(mover) == 0) return;
    cv::dilate(mover, mover_, cv::Mat::ones(2 * kMoverRim + 1, 2 * kMoverRim + 1, CV_8U));
    counted_ = ~mover_;
}

void Page::addVersion(const std::string& key, const std::string& title, const Picture& picture) {
    file_.open(pictures_);
    const cv::Mat luma = picture.mat(0);
    const cv::Rect all(0, 0, picture.width, picture.height);
    if (places_.empty()) {
        document_["width"] = picture.width;
        document_["height"] = picture.height;
        places_ = pickPagePlaces(luma, mover_.empty() ? cv::Rect() : cv::boundingRect(mover_));
        for (const PagePlace& place : places_) {
            document_["places"].push_back({{"name", place.name}, {"area", rectJson(place.area)}});
        }
        edges_.emplace(truth_ ? truth_->mat(0) : luma);
    }
    nlohmann::json version{{"key", key}, {"title", title}, {"sharpness", finiteOrNull(edges_->sharpness(luma))}};
    if (key != "truth") {
        version["noise"] = noiseByBrightness(luma, truth_ ? truth_->mat(0) : cv::Mat(), counted_);
        if (truth_) {
            version["truth"] = pictureQuality(picture, *truth_, all, counted_);
            version["moverPsnrY"] =
                mover_.empty() ? nlohmann::json() : finiteOrNull(planePsnr(luma, truth_->mat(0), all, mover_));
        }
    }
    const cv::Mat bgr = bgrFromPicture(picture);
    version["whole"] = pictures_.save(key + "-whole", bgr, kWholeColumns, kWholeBytes);
    for (std::size_t i = 0; i < places_.size(); ++i) {
        const cv::Rect& area = places_[i].area;
        const std::string name = key + "-at-" + std::to_string(area.x) + "-" + std::to_string(area.y);
        version["crops"].push_back(pictures_.save(name, bgr(area), area.width, kCropBytes));
    }
    document_["versions"].push_back(version);
}

void Page::addFrame(nlohmann::json frame, const std::vector<std::pair<std::string, cv::Mat>>& pictures) {
    file_.open(pictures_);
    const std::size_t number = document_["frames"].size() + 1;
    const bool large = number <= kLargeFrames;
    frame["pictures"] = nlohmann::json::array();
    for (const auto& [title, bgr] : pictures) {
        const std::string name = "frame-" + std::to_string(number) + "-" + std::to_string(frame["pictures"].size() + 1);
        const std::string file = pictures_.save(name, bgr, large ? kFrameColumns : kSmallFrameColumns,
                                                (large ? kFrameBytes : kSmallFrameBytes) / pictures.size());
        frame["pictures"].push_back({{"title", title}, {"file", file}});
    }
    document_["frames"].push_back(std::move(frame));
}

void Page::addMap(const std::string& title, const std::string& text, const cv::Mat& bgr) {
    file_.open(pictures_);
    const std::string name = "map-" + std::to_string(document_["maps"].size() + 1);
    document_["maps"].push_back(
        {{"title", title}, {"text", text}, {"file", pictures_.save(name, bgr, kFrameColumns, kStageBytes)}});
}

void Page::addStages() {
    if (document_["stages"].is_null()) return;
    for (nlohmann::json& stage : document_["stages"].at("stages")) {
        const std::string name = stage.at("file").get<std::string>();
        const cv::Mat bgr = loadBgr((fs::path(options_.stages) / name).string());
        stage["file"] = pictures_.save("stage-" + fs::path(name).stem().string(), bgr, kWholeColumns, kStageBytes);
    }
}

nlohmann::json Page::figures() const {
    nlohmann::json versions = nlohmann::json::object();
    for (nlohmann::json version : document_["versions"]) {
        const std::string key = version["key"];
        for (const char* const name : {"key", "title", "whole", "crops"}) version.erase(name);
        versions[key] = version;
    }
    return {{"file", file_.path()}, {"versions", versions}};
}

void Page::write(const nlohmann::json& result) {
    file_.open(pictures_);
    if (truth_) addVersion("truth", "Truth", *truth_);
    addStages();
    const std::vector<std::string> order{"reference", "mean", "merged", "denoised", "truth"};
    nlohmann::json& versions = document_["versions"];
    std::stable_sort(versions.begin(), versions.end(), [&](const nlohmann::json& a, const nlohmann::json& b) {
        const auto place = [&](const nlohmann::json& version) {
            return std::find(order.begin(), order.end(), version["key"].get<std::string>());
        };
        return place(a) < place(b);
    });
    document_["result"] = result;
    file_.write(kPageTemplate, pageView(document_));
}

}  // namespace eishost
