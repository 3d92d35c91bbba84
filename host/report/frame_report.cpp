#include "host/report/frame_report.h"

#include <chrono>
#include <cstdio>
#include <opencv2/imgproc.hpp>

#include "acore_types.h"
#include "host/match/filled_area.h"
#include "host/match/homography_fit.h"
#include "host/program/exit_codes.h"

namespace eishost {

namespace {

constexpr std::size_t kLeastKeypoints = 8;
constexpr double kCornersHeldFrom = 0.5;

class StopWatch {
  public:
    double milliseconds() const {
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start_).count();
    }

  private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

template <typename T>
nlohmann::json orNull(const std::optional<T>& value) {
    return value ? nlohmann::json(*value) : nlohmann::json();
}

// How far the middle of the reference has moved, by the kept pairs.
std::string motionText(const cv::Matx33d& homography, cv::Size frame) {
    const cv::Point2d middle(frame.width / 2.0, frame.height / 2.0);
    const cv::Point2d moved = project(homography, middle) - middle;
    char text[80];
    std::snprintf(text, sizeof text, " (the middle moved by %.0f, %.0f)", moved.x, moved.y);
    return text;
}

}  // namespace

bool FrameReport::cornersHeld() const {
    return coverage >= kCornersHeldFrom;
}

PreparedFrame::PreparedFrame(std::string frameName, Picture framePicture)
    : name(std::move(frameName)), picture(std::move(framePicture)), matchable(), milliseconds(0) {
    const StopWatch watch;
    matchable = MatchableFrame(picture.mat(0));
    milliseconds = watch.milliseconds();
}

std::string PreparedFrame::whyBlank() const {
    const std::size_t found = matchable.keypoints.points.size();
    if (found >= kLeastKeypoints) return {};
    return "blank or featureless, " + std::to_string(found) + " keypoints where registration needs at least " +
           std::to_string(kLeastKeypoints);
}

void PreparedFrame::refuseBlank() const {
    const std::string why = whyBlank();
    if (!why.empty()) throw HostError(kExitUnsuitable, name + ": " + why);
}

FrameReport reportFrame(const PreparedFrame& reference, const PreparedFrame& frame,
                        const RegistrationOptions& options) {
    FrameReport report;
    report.frame = frame.name;
    const StopWatch matching;
    report.matches = matchFrames(reference.matchable, frame.matchable);
    report.matchMs = frame.milliseconds + matching.milliseconds();
    report.outcome = registerFrame(reference.picture, frame.picture, report.matches, options);
    report.libraryMs = report.outcome.ransacMs.value_or(0) + report.outcome.registrationMs.value_or(0) +
                       report.outcome.flushMs.value_or(0);

    const RegistrationOutcome& outcome = report.outcome;
    const cv::Size size(frame.picture.width, frame.picture.height);
    report.coverage = Keypoints::coverage(outcome.keptRef, size);
    report.homography = fitHomography(outcome.keptRef, outcome.keptCur);
    if (report.homography) report.residual = rmsResidual(*report.homography, outcome.keptRef, outcome.keptCur);
    if (outcome.status != retStsOK) {
        report.refusal = findRefusal(outcome.log);
        if (const std::string why = frame.whyBlank(); report.refusal && !why.empty()) report.refusal->reason = why;
        if (report.refusal && outcome.keptRef.size() >= kLeastKeypoints && report.homography) {
            report.refusal->reason += motionText(*report.homography, size);
        }
    } else if (report.homography) {
        report.area = findFilledArea(outcome.aligned, expectedArea(*report.homography, size.width, size.height));
    }
    return report;
}

void scoreFrame(FrameReport& report, const Picture& frame, const Picture& clean, const cv::Matx33d& truth,
                const cv::Mat& mover) {
    TruthScores scores;
    report.mover = mover;
    const cv::Size size(frame.width, frame.height);
    cv::Mat object;
    if (!mover.empty()) {
        cv::dilate(mover, object, cv::Mat::ones(2 * kMoverRim + 1, 2 * kMoverRim + 1, CV_8U));
        cv::Mat unaligned;  // the same in the frame as it came, for the score before registration
        cv::warpPerspective(object, unaligned, truth, size, cv::INTER_NEAREST);
        report.scored = ~(object | unaligned);
    }
    if (report.homography) scores.corners = cornerError(*report.homography, truth, size);
    cv::Rect area(cv::Point(), size);
    if (report.area) {
        area = *report.area;
        // The library fills whole groups of 8; an edge read off a flat picture need not be one.
        area.width &= ~7;
        area.height &= ~7;
        const cv::Mat aligned = report.outcome.aligned.mat(0);
        scores.psnrAligned = planePsnr(aligned, clean.mat(0), area, report.scored);
        scores.psnrTrueHomography =
            planePsnr(alignByHomography(frame, truth, area).mat(0), clean.mat(0), area, report.scored);
        if (!object.empty()) scores.psnrMover = planePsnr(aligned, clean.mat(0), area, object);
    }
    scores.psnrUnaligned = planePsnr(frame.mat(0), clean.mat(0), area, report.scored);
    report.truth = scores;
}

void to_json(nlohmann::json& json, const FrameReport& report) {
    const RegistrationOutcome& outcome = report.outcome;
    json = {{"frame", report.frame},
            {"status", outcome.status},
            {"aligned", outcome.status == retStsOK},
            {"pairsIn", report.matches.entries()},
            {"pairsKept", outcome.keptRef.size()},
            {"coverage", report.coverage},
            {"cornersHeld", report.cornersHeld()},
            {"refusal", nullptr},
            {"rectangle", nullptr},
            {"homography", nullptr},
            {"residualPixels", nullptr}};
    if (report.refusal) json["refusal"] = {{"reason", report.refusal->reason}, {"logLine", report.refusal->logLine}};
    if (report.area) {
        json["rectangle"] = {{"x", report.area->x},
                             {"y", report.area->y},
                             {"width", report.area->width},
                             {"height", report.area->height}};
    }
    if (report.homography) {
        json["homography"] = std::vector<double>(report.homography->val, report.homography->val + 9);
        json["residualPixels"] = report.residual;
    }
    json["milliseconds"] = {{"matching", report.matchMs},
                            {"ransac", orNull(outcome.ransacMs)},
                            {"registration", orNull(outcome.registrationMs)},
                            {"flush", orNull(outcome.flushMs)}};
    json["files"] = {{"aligned", report.alignedFile.empty() ? nlohmann::json() : nlohmann::json(report.alignedFile)},
                     {"overlay", report.overlayFile.empty() ? nlohmann::json() : nlohmann::json(report.overlayFile)}};
    if (report.denoised) json["denoised"] = *report.denoised;
    if (report.truth) {
        json["truth"] = {{"cornerError", orNull(report.truth->corners)},
                         {"psnrY",
                          {{"unaligned", finiteOrNull(report.truth->psnrUnaligned)},
                           {"aligned", finiteOrNull(report.truth->psnrAligned)},
                           {"trueHomography", finiteOrNull(report.truth->psnrTrueHomography)}}}};
        if (!report.scored.empty()) {
            json["truth"]["moverLeftOut"] = true;
            json["truth"]["psnrY"]["moverArea"] = finiteOrNull(report.truth->psnrMover);
        }
    }
}

std::string jsonText(const nlohmann::json& json, int indent) {
    return json.dump(indent, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace eishost
