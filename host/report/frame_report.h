// What is known about one registered frame.
#pragma once

#include <nlohmann/json.hpp>
#include <opencv2/core.hpp>
#include <optional>
#include <string>

#include "host/dsp/refusal.h"
#include "host/dsp/registration_call.h"
#include "host/match/matching.h"
#include "host/picture/metrics.h"
#include "host/report/burst_denoise.h"
#include "host/synth/synth_truth.h"

namespace eishost {

inline constexpr int kMoverRim = 4;  // pixels around an object that resampling mixes with it

// Luma against the clean reference inside the filled rectangle, in dB. An object that moves by itself is left out,
// where it is in the reference and where it is in the frame: no registration can lay it onto itself.
struct TruthScores {
    std::optional<CornerError> corners;  // of the fit to the kept pairs
    std::optional<double> psnrUnaligned;
    std::optional<double> psnrAligned;
    std::optional<double> psnrTrueHomography;  // the frame sampled in the same way with the true homography
    std::optional<double> psnrMover;           // of the aligned frame in the object's area alone; only with an object
};

struct FrameReport {
    std::string frame;  // as the user named it
    MatchTables matches;
    RegistrationOutcome outcome;
    std::optional<Refusal> refusal;
    // The tool's own fit to the pairs that the library kept; what the library fits itself stays inside it.
    std::optional<cv::Matx33d> homography;
    double residual = 0;           // of that fit, root mean square in pixels
    std::optional<cv::Rect> area;  // filled from the frame, the rest is mirrored
    double coverage = 0;           // share of the frame that holds kept pairs, 0 to 1
    double matchMs = 0;
    double libraryMs = 0;
    std::optional<TruthScores> truth;
    cv::Mat mover;   // 255 where an object moves by itself, in the frame or in the reference; empty when none is known
    cv::Mat scored;  // 255 where truth counts, 0 at the object; empty when that is everywhere
    std::string alignedFile;  // empty when not written
    std::string overlayFile;
    std::optional<DenoiseReport> denoised;

    bool cornersHeld() const;  // false when kept pairs cover less than half of the frame
};

// One frame as the tools hold it: the picture, and what it takes to match it.
struct PreparedFrame {
    PreparedFrame(std::string frameName, Picture framePicture);

    // "" or why this has not enough to match by, so that the library refuses it.
    std::string whyBlank() const;
    // HostError(kExitUnsuitable) for such a one.
    void refuseBlank() const;

    std::string name;
    Picture picture;
    MatchableFrame matchable;
    double milliseconds;
};

// Matches `frame` with `reference`, has the library register it, and looks at what came back.
FrameReport reportFrame(const PreparedFrame& reference, const PreparedFrame& frame, const RegistrationOptions& options);

// Adds the scores against the truth; `clean` is the reference without noise, `mover` as moverArea gives it.
void scoreFrame(FrameReport& report, const Picture& frame, const Picture& clean, const cv::Matx33d& truth,
                const cv::Mat& mover);

void to_json(nlohmann::json& json, const FrameReport& report);

// As text, on one line unless indented. Bytes of file names that are not UTF-8 are replaced.
std::string jsonText(const nlohmann::json& json, int indent = -1);

}  // namespace eishost
