// The page of a burst.
#pragma once

#include <optional>
#include <string>

#include "host/report/aligned_mean.h"
#include "host/report/frame_report.h"
#include "host/report/page.h"

namespace eishost {

class BurstPage {
  public:
    // `clean`, when not null, is the clean reference. Both outlive this. HostError as Page.
    BurstPage(const PageOptions& options, const PreparedFrame& reference, const Picture* clean);

    void setSettings(nlohmann::json settings) { page_.setSettings(std::move(settings)); }
    void setDenoised(Picture reference) { denoised_ = std::move(reference); }
    void addFrame(const FrameReport& report);

    // Writes the page. `result` is what result.json holds; it gets what was measured, as "report".
    void finish(nlohmann::json& result);

    std::string file() const { return page_.file(); }

  private:
    const PreparedFrame& reference_;
    const Picture* clean_;
    Page page_;
    AlignedMean mean_;
    int frames_ = 0;  // in the mean, beside the reference
    cv::Mat movers_;
    std::optional<Picture> denoised_;
};

}  // namespace eishost
