// Synthetic clips: a hand-held camera pans over one photograph, along a known path.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <opencv2/core.hpp>
#include <optional>
#include <string>
#include <vector>

#include "host/synth/synth_noise.h"

namespace eishost {

struct ClipOptions {
    int frames = 120;
    cv::Size size{1280, 720};  // even
    NoiseSetting noise;
    double shake = 0;     // as HandShake's acceleration, pixels
    bool steady = false;  // the same clip without its shake: what the camera was meant to see
    bool still = false;
    std::optional<int> cut;  // the frame that another scene begins with
    bool mover = false;
    std::optional<int> moverSize;  // as of a burst, up to the frame's shorter side
    std::optional<int> moverContrast;
    std::uint64_t seed = 1;
};

// Renders the frames of one clip, each on its own. The same photograph, options and seed give the same frames.
//
// The camera pans at constant speed, a 640th of the frame's width a frame, to the right and a little down; where the
// photograph ends it slows down over a second and pans back. The second scene is the photograph upside down.
class ClipSynthesiser {
  public:
    // `photo` is 8-bit BGR; it is made smaller where it is larger than the pan needs. HostError(kExitUnsuitable) if it
    // is too small for the frames and their shake, or the mover is too large for the frames.
    ClipSynthesiser(const cv::Mat& photo, const ClipOptions& options);

    // Maps a position in the scene to its position in frame `index`. Positions in the scene are pixels from where the
    // corner of frame 0 would be without the shake, in both scenes.
    cv::Matx33d homography(int index) const;
    // The box of the moving object when frame `index` is taken, in positions in the scene.
    std::optional<cv::Rect> mover(int index) const;
    int sceneOf(int index) const { return options_.cut && index >= *options_.cut ? 1 : 0; }

    // 8-bit BGR.
    cv::Mat frame(int index) const;

  private:
    // One axis of the pan.
    struct Sweep {
        double length = 0;  // pixels from end to end
        double speed = 0;   // pixels a frame
        double at(int index) const;
    };

    void layOut(const cv::Mat& photo);
    cv::Point2d pan(int index) const;

    ClipOptions options_;
    std::vector<cv::Matx33d> shake_;
    std::vector<cv::Mat> scenes_;
    cv::Point origin_;  // of frame 0 in a scene's picture, without the shake
    Sweep sweeps_[2];
    cv::Size moverSize_;
    double moverPhase_ = 0;
};

// The ground truth of a clip:
//
//   {"clip": "clip.y4m", "photo": "...", "seed": 1, "noise": "light", "width": W, "height": H, "rate": 30,
//    "options": {...}, "frames": [{"scene": 0, "homography": [nine numbers, row-major], "mover": [x, y, width,
//    height]},
//    ...]}
//
// with homographies and boxes as ClipSynthesiser tells them; "mover" is there only if an object moves.
nlohmann::ordered_json clipTruth(const ClipSynthesiser& clip, const ClipOptions& options);

}  // namespace eishost
