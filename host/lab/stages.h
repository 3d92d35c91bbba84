// What each step of the high-level denoising does to a picture, read from the passes' own planes.
#pragma once

#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "host/dsp/denoise_settings.h"
#include "host/picture/picture.h"

namespace eislab {

struct Stage {
    std::string name;  // for a file
    std::string title;
    std::string text;
    cv::Mat
        shown;  // 8-bit, grey or BGR: `area` of the picture at its true size, planes of half and quarter scale enlarged
};

struct StageRun {
    std::vector<Stage> stages;  // in the order of the steps
    eishost::Picture denoised;  // the whole picture
};

// Denoises luma and chroma of a picture whose width is a multiple of 4 and whose height is one of 16, as the body for a
// whole picture does, without bands. `area` is a multiple of 4 on all sides. HostError(kExitLibrary) when the chroma
// pass has no memory.
StageRun runStages(const eishost::Picture& picture, const eishost::DenoiseSettings& settings, const cv::Rect& area);

}  // namespace eislab
