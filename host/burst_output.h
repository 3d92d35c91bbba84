// What `eis-host burst` prints: a table with a progress bar below it, or lines of JSON.
#pragma once

#include <cstddef>
#include <string>

#include "host/frame_report.h"

namespace eishost {

class BurstOutput {
  public:
    // The bar is for a terminal alone, and not for JSON.
    BurstOutput(bool json, std::size_t files);
    ~BurstOutput() { clearBar(); }

    void progress(std::size_t filesDone, const std::string& current);
    void frame(const FrameReport& report);
    void reference(const std::string& name, const DenoiseReport& denoised);
    void finish(const std::string& folder);

  private:
    void clearBar();

    bool json_;
    bool bar_;
    bool headed_ = false;
    std::size_t files_;
};

}  // namespace eishost
