// The denoise entries as a host calls them.
#pragma once

#include <iosfwd>
#include <opencv2/core.hpp>

#include "host/dsp/denoise_settings.h"
#include "host/picture/picture.h"

namespace eishost {

enum class DenoiseEntry {
    kLumaAndChroma,  // SpatialNrHLMain_ACoreApi
    kChromaHigh,     // ChromaHighLevelMainCall_2
    kChromaLow,      // ChromaLowLevelMainCall_2
};

const char* entryName(DenoiseEntry entry);

struct DenoiseOptions {
    DenoiseEntry entry = DenoiseEntry::kLumaAndChroma;
    cv::Mat mask;  // motion mask of luma size for kChromaLow; empty for all 0
    std::ostream* trace = nullptr;
    std::ostream* log = nullptr;
};

struct DenoiseOutcome {
    Picture picture;
    double milliseconds = 0;  // in the entry
};

// Denoises a picture of any size from 128x128. The entries want a height that is a multiple of 16 and a width that is a
// multiple of 4 (see include/denoise_blocks.h): other pictures are handed over with mirrored rows and columns more, and
// cut back. The entries invalidate nothing, so every buffer that they read is synced here. HostError: kExitUnsuitable
// for a picture that is too small or a mask of another size, kExitLibrary when the entry fails.
DenoiseOutcome denoisePicture(const Picture& picture, const DenoiseSettings& settings, const DenoiseOptions& options);

}  // namespace eishost
