// What the page tells of a picture beside its distance to a truth.
#pragma once

#include <nlohmann/json.hpp>
#include <opencv2/core.hpp>
#include <vector>

namespace eishost {

// How much of a picture's edges another one keeps: the gradient along that of `base`, added up over the strongest
// twentieth of its edges, 1 for `base` itself. Noise of the picture at hand averages out, since its gradient is taken
// along a given direction; that of `base` counts as edges, so that a clean one is the better measure. Both are luma.
class EdgeMeasure {
  public:
    explicit EdgeMeasure(const cv::Mat& base);
    double sharpness(const cv::Mat& luma) const;

  private:
    double alongEdges(const cv::Mat& luma) const;

    cv::Mat directionX_;  // float, of unit length at an edge, 0 elsewhere
    cv::Mat directionY_;
    double whole_;
};

struct NoisePoint {
    double brightness;  // 0 to 255
    double sigma;       // standard deviation in levels
};

// The noise of luma by brightness, in steps of 16 levels; steps that hold too little to tell are left out.
// Against `clean` it is the root mean square of the difference, without what `counted` leaves out. When `clean` is
// empty it is the deviation of blocks of 8 by 8 from their own plane, of the flattest fifth at each brightness, where
// there is least of anything else (the lower envelope of Liu, Freeman, Szeliski, Kang, Noise estimation from a single
// image, CVPR 2006); it understates noise that is coarser than a block.
std::vector<NoisePoint> noiseByBrightness(const cv::Mat& luma, const cv::Mat& clean, const cv::Mat& counted);

void to_json(nlohmann::json& json, const NoisePoint& point);

}  // namespace eishost
