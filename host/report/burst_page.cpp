#include "host/report/burst_page.h"

#include <filesystem>

#include "host/report/overlay.h"

namespace eishost {

namespace {

std::string fileName(const std::string& path) {
    return std::filesystem::path(path).filename().string();
}

}  // namespace

BurstPage::BurstPage(const PageOptions& options, const PreparedFrame& reference, const Picture* clean)
    : reference_(reference),
      clean_(clean),
      page_(options, "burst", burstTitle(reference.name)),
      mean_(reference.picture) {}

void BurstPage::addFrame(const FrameReport& report) {
    if (report.area) {
        const cv::Rect& area = *report.area;
        mean_.add(report.outcome.aligned, {area.x, area.y, area.width & ~1, area.height & ~1});
        ++frames_;
    }
    if (!report.mover.empty()) movers_ = movers_.empty() ? report.mover.clone() : movers_ | report.mover;
    page_.addFrame(report, {{"aligned", bgrFromPicture(report.outcome.aligned)},
                            {"matches", drawOverlay(report, fileName(reference_.name))}});
}

void BurstPage::finish(nlohmann::json& result) {
    if (clean_ != nullptr) page_.setTruth(*clean_, movers_);
    page_.addVersion("reference", "Reference", reference_.picture);
    if (frames_ > 0) {
        page_.addVersion("mean", "Aligned mean of " + std::to_string(frames_ + 1), mean_.mean());
    }
    if (denoised_) page_.addVersion("denoised", "Reference, denoised", *denoised_);
    result["report"] = page_.figures();
    page_.write(result);
}

}  // namespace eishost
