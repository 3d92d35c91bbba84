#include "host/lab/ghost_overlay.h"

#include <opencv2/imgproc.hpp>

namespace eislab {

namespace {

const cv::Scalar kGhostColour(0, 140, 255);
const cv::Scalar kFilledColour(170, 170, 170);
constexpr double kStrength = 0.6;  // of the orange where the mask is 255

}  // namespace

cv::Mat ghostOverlay(const eishost::Picture& frame, const cv::Mat& mask, const std::optional<GhostTruth>& truth,
                     eishost::Caption caption) {
    const double scale = eishost::drawingScale(frame.width);
    cv::Mat shown = eishost::scaledPicture(bgrFromPicture(frame), scale) * 0.7;
    cv::Mat weight;
    cv::cvtColor(eishost::scaledPicture(mask, scale), weight, cv::COLOR_GRAY2BGR);
    cv::Mat cover;
    cv::multiply(weight, cv::Mat(shown.size(), CV_8UC3, kGhostColour), cover, kStrength / 255);
    cv::Mat hidden;
    cv::multiply(weight, shown, hidden, kStrength / 255);
    shown = shown - hidden + cover;
    caption.legend.push_back({kGhostColour, "ghost"});
    if (truth) {
        const cv::Rect& area = truth->filled;
        cv::rectangle(shown, cv::Rect(cv::Point2d(area.tl()) * scale, cv::Point2d(area.br()) * scale), kFilledColour,
                      1);
        eishost::drawMover(shown, eishost::scaledPicture(truth->mover, scale));
        caption.legend.push_back({eishost::kMoverColour, "mover, then and in the reference"});
        caption.legend.push_back({kFilledColour, "filled by registration"});
    }
    return withCaption(shown, caption);
}

}  // namespace eislab
