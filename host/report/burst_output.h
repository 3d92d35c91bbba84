// What `eis-host burst` prints: a table or lines of JSON, with the progress below.
#pragma once

#include <cstddef>
#include <string>

#include "host/program/progress.h"
#include "host/report/frame_report.h"

namespace eishost {

class BurstOutput {
  public:
    BurstOutput(bool json, std::size_t files, bool withProgress);

    void at(std::size_t filesDone, const std::string& current) { progress_.at(filesDone, current); }
    void frame(const FrameReport& report);
    void reference(const std::string& name, const DenoiseReport& denoised);
    void finish(const std::string& folder);

  private:
    bool json_;
    bool headed_ = false;
    Progress progress_;
};

}  // namespace eishost
