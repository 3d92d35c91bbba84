// Ransac_Regis_AcoreAPI_EIS as a host calls it: one frame onto the reference.
#pragma once

#include <iosfwd>
#include <opencv2/core.hpp>
#include <optional>
#include <vector>

#include "host/dsp/library_log.h"
#include "host/dsp/match_tables.h"
#include "host/picture/picture.h"

namespace eishost {

struct RegistrationOutcome {
    std::int32_t status = 0;           // the status word: 0 warped, 3 refused and copied
    std::vector<cv::Point2f> keptRef;  // what the library left in the pair arrays, index-aligned
    std::vector<cv::Point2f> keptCur;
    Picture aligned;  // as the DSP sees it; grey chroma when luma alone was asked for
    std::vector<LogLine> log;
    std::optional<double> ransacMs;  // stages as the library logged them
    std::optional<double> registrationMs;
    std::optional<double> flushMs;
};

struct RegistrationOptions {
    bool lumaOnly = false;
    std::ostream* trace = nullptr;  // coherence, call by call
    std::ostream* log = nullptr;    // the library's lines as they come
};

struct RegistrationPictures {
    ST_PICTURE_DEV reference;
    ST_PICTURE_DEV frame;
    ST_PICTURE_DEV aligned;
};

// Where the block of a call stands, and what of it is looked at again.
struct RegistrationBlock {
    DeviceAddress block;
    DeviceAddress context;
    DeviceAddress status;
};

// Lays the block of Ransac_Regis_AcoreAPI_EIS and all that it leads to into memory of the DSP, for one frame.
RegistrationBlock putRegistration(DspArena& arena, const RansacEstParaContext& context,
                                  const RegistrationPictures& pictures, bool lumaOnly);

// Both pictures must have one size, with a height that is a multiple of 8. HostError(kExitLibrary) when the entry
// fails; a refusal is an outcome.
RegistrationOutcome registerFrame(const Picture& reference, const Picture& frame, const MatchTables& matches,
                                  const RegistrationOptions& options);

}  // namespace eishost
