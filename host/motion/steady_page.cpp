#include "host/motion/steady_page.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <opencv2/imgproc.hpp>
#include <utility>

#include "host/motion/transforms.h"
#include "host/picture/metrics.h"
#include "host/report/frame_plot.h"
#include "host/report/frame_report.h"
#include "host/report/machine.h"
#include "host/report/page_text.h"
#include "host/report/page_view.h"

namespace eishost {

namespace {

using nlohmann::json;

constexpr char kVideoName[] = "both.mp4";
constexpr int kFilmColumns = 640;  // of one clip
constexpr std::size_t kMostStills = 12;
constexpr std::size_t kStillBytes = 40'000;
constexpr std::size_t kMostNotes = 40;

int evenSide(double side) {
    return std::max(2, cvRound(side / 2) * 2);
}

Picture makeSmall(const Picture& picture) {
    const double scale = std::min(1.0, double{kFilmColumns} / picture.width);
    Picture result(evenSide(picture.width * scale), evenSide(picture.height * scale));
    result.range = picture.range;
    for (int plane = 0; plane < 3; ++plane) {
        cv::Mat to = result.mat(plane);
        cv::resize(picture.mat(plane), to, to.size(), 0, 0, cv::INTER_AREA);
    }
    return result;
}

Picture sideBySide(const Picture& left, const Picture& right) {
    Picture both(left.width + right.width, left.height);
    both.range = left.range;
    for (int plane = 0; plane < 3; ++plane) {
        cv::Mat to = both.mat(plane);
        cv::hconcat(left.mat(plane), right.mat(plane), to);
    }
    return both;
}

json fact(const std::string& label, const std::string& value) {
    return {{"label", label}, {"value", value}};
}

}  // namespace

SteadyPage::SteadyPage(const std::string& folder, About about)
    : about_(std::move(about)),
      pictures_(folder),
      file_(folder),
      video_((std::filesystem::path(folder) / kVideoName).string(), about_.rate),
      before_(about_.frame),
      after_(about_.frame) {}

void SteadyPage::addInput(const Picture& picture) {
    waiting_.push_back(makeSmall(picture));
}

void SteadyPage::addOutput(const SteadyFrame& frame) {
    file_.open(pictures_);
    const Picture before = std::move(waiting_.front());
    waiting_.pop_front();
    const Picture after = makeSmall(frame.picture);
    video_.write(sideBySide(before, after));
    addStill(frame.number, before, after);
    addNote(frame);

    if (scenes_.empty() || frame.motion.cut) {
        scenes_.push_back(frame.number);
        fromScene_ = cv::Matx33d::eye();
    } else {
        fromScene_ = normalised(frame.motion.fromPrevious * fromScene_);
    }
    addPath(before_, frame, cv::Matx33d::eye(), 1);
    addPath(after_, frame, frame.correction, about_.zoom);
}

void SteadyPage::addStill(std::size_t frame, const Picture& before, const Picture& after) {
    if (frame % stillStep_ == 0 && stills_.size() == kMostStills) {
        stillStep_ *= 2;
        std::erase_if(stills_, [&](const Still& still) { return still.frame % stillStep_ != 0; });
    }
    if (frame % stillStep_ == 0) stills_.push_back({frame, before, after});
}

void SteadyPage::addNote(const SteadyFrame& frame) {
    std::string text;
    if (frame.motion.cut && frame.number > 0) text = "a cut: another scene begins";
    if (!frame.motion.reliable) text = "its motion cannot be told from the pictures; the camera is taken to move on";
    if (frame.refused) text = "refused by the library: zoomed alone";
    if (text.empty()) return;
    if (notes_.size() < kMostNotes) {
        notes_.push_back({frame.number, text});
    } else {
        ++moreNotes_;
    }
}

void SteadyPage::addPath(Path& path, const SteadyFrame& frame, const cv::Matx33d& correction, double zoom) {
    const cv::Matx33d seen = correction.inv() * fromScene_;
    const cv::Point2d middle(about_.frame.width / 2.0, about_.frame.height / 2.0);
    const cv::Point2d at = project(seen, middle);
    const cv::Point2d across = project(seen, middle + cv::Point2d(1, 0)) - at;
    const cv::Point2d down = project(seen, middle + cv::Point2d(0, 1)) - at;
    path.measures[kAcross].push_back(at.x - middle.x);
    path.measures[kDown].push_back(at.y - middle.y);
    path.measures[kTurn].push_back(std::atan2(across.y - down.x, across.x + down.y) * 180 / CV_PI);
    path.measures[kZoom].push_back(100 * (std::sqrt(std::abs(across.cross(down))) / zoom - 1));

    const bool sceneBegins = scenes_.back() == frame.number;
    path.shake.add(sceneBegins ? std::nullopt : std::optional(frame.motion.fromPrevious), correction);
    // What the content does at a frame is known with the next one.
    std::vector<double>& shake = path.measures[kShake];
    if (!shake.empty()) shake.back() = path.shake.beforeLast();
    shake.push_back(0);
}

json SteadyPage::plots() const {
    constexpr const char* kTitles[kMeasures] = {"x, pixels", "y, pixels", "turn, degrees", "zoom, per cent",
                                                "shake: the content's acceleration, pixels"};
    json list = json::array();
    for (int measure = 0; measure < kMeasures; ++measure) {
        list.push_back(framePlot(
            kTitles[measure],
            {{"before", "before", before_.measures[measure]}, {"after", "after", after_.measures[measure]}}, scenes_));
    }
    return list;
}

json SteadyPage::saveStills() const {
    json strip = json::array();
    for (const Still& still : stills_) {
        const auto save = [&](const std::string& kind, const Picture& picture) {
            return pictures_.save("frame-" + std::to_string(still.frame) + kind, bgrFromPicture(picture), kFilmColumns,
                                  kStillBytes);
        };
        strip.push_back({{"frame", std::to_string(still.frame)},
                         {"before", save("-before", still.before)},
                         {"after", save("-after", still.after)}});
    }
    return strip;
}

json SteadyPage::facts(const json& summary) const {
    const auto number = [&](const char* path, int digits, double scale = 1) {
        return fixedText(scale * summary.at(json::json_pointer(path)).get<double>(), digits);
    };
    json list{fact("size", std::to_string(about_.frame.width) + " × " + std::to_string(about_.frame.height)),
              fact("frames", summary.at("frames").dump()),
              fact("shake", number("/shake/before", 2) + " → " + number("/shake/after", 3) + " px"),
              fact("zoom", number("/zoom", 3)),
              fact("border", number("/border/mean", 2, 100) + " %, at most " + number("/border/most", 2, 100) + " %"),
              fact("refused", summary.at("refused").dump())};
    if (summary.at("cuts") != 0) list.push_back(fact("cuts", summary.at("cuts").dump()));
    if (summary.at("unreliable") != 0) list.push_back(fact("without a motion", summary.at("unreliable").dump()));
    return list;
}

void SteadyPage::write(const json& summary) {
    const bool hasVideo = video_.finish();
    if (hasVideo) stills_ = {stills_.at(stills_.size() / 2)};
    const json strip = saveStills();
    const json& middle = strip.at(strip.size() / 2);
    json notes = json::array();
    for (const Note& note : notes_) notes.push_back({{"frame", std::to_string(note.frame)}, {"text", note.text}});
    json view{{"command", "stabilize"},
              {"title", about_.title},
              {"version", EIS_VERSION},
              {"machine", machineName()},
              {"facts", facts(summary)},
              {"allowed", "media-src 'self' file:"},
              {"video", hasVideo ? json(kVideoName) : json()},
              {"strip", strip},
              {"plots", plots()},
              {"hasNotes", !notes.empty()},
              {"notes", notes},
              {"more", moreNotes_ > 0 ? json(moreNotes_) : json()},
              {"json", jsonText(summary, 2)}};
    // What a page over several shows of this one.
    view["data"] = inlineJson({{"title", about_.title},
                               {"facts", view["facts"]},
                               {"shown", 1},
                               {"versions",
                                {{{"title", "before"}, {"whole", middle.at("before")}},
                                 {{"title", "after"}, {"whole", middle.at("after")}}}}});
    file_.write(kClipTemplate, std::move(view));
}

}  // namespace eishost
