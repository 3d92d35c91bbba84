// From a camera's motion to the correction of each frame, as the frames come.
#pragma once

#include <opencv2/core.hpp>
#include <optional>
#include <span>
#include <vector>

#include "host/motion/path_window.h"

namespace eishost {

enum class PathKind {
    kGaussian,  // the camera's own, smoothed
    kOptimal,   // of even stretches
    kStill,     // the camera is meant to stand
};

struct PathOptions {
    PathKind kind = PathKind::kGaussian;
    double smooth = 25;  // standard deviation of the Gaussian, in frames
    double zoom = 1.085;
    bool mirror = false;  // the shown part may reach over the frame's edges
    int lookahead = 45;   // frames
};

class PathPlanner {
  public:
    PathPlanner(cv::Size frame, const PathOptions& options);

    // Forgets what came before: a scene begins.
    void beginScene();

    // How many frames are decided at once when `pending` are known ahead.
    std::size_t step(std::size_t pending) const;

    // The next frames' corrections, `count` of them: from positions of the result to such of the frame. `pending` are
    // the motions of these frames and of those that follow them, each from the frame before.
    std::vector<cv::Matx33d> take(std::span<const cv::Matx33d> pending, std::size_t count);

    // The zoom alone, about the middle.
    cv::Matx33d plain() const;

  private:
    // The part of each frame's motion that no similarity follows, undone.
    cv::Matx33d shapeCorrection(std::size_t at) const;
    std::vector<cv::Matx33d> takeOptimal(std::size_t first, std::size_t count);
    std::vector<cv::Matx33d> takeGaussian(std::size_t first, std::size_t count);
    double shareInside(const cv::Matx33d& correction) const;

    cv::Size frame_;
    PathOptions options_;
    FrameBounds bounds_;
    // Of the scene's frames that are still needed, those that are pending included.
    std::vector<cv::Matx33d> motions_;
    std::vector<cv::Matx33d> similarMotions_;  // their nearest similarities
    // Their Gaussian corrections, and which share of each the frame's bounds leave, as far as these are known.
    std::vector<cv::Matx33d> unbounded_;
    std::vector<double> shares_;
    std::vector<Similarity> decided_;  // corrections of the first ones, without the shape's
};

}  // namespace eishost
