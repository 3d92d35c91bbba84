#include "host/motion/gaussian_path.h"

#include <algorithm>
#include <cmath>

#include "host/motion/transforms.h"

namespace eishost {

namespace {

// The weight of each frame `first` to `last` away in the value that a straight line, fitted under Gaussian weights,
// has at 0. Far from ends this is the Gaussian itself.
std::vector<double> lineWeights(int first, int last, double deviation) {
    std::vector<double> weights;
    double sums[3] = {};
    for (int k = first; k <= last; ++k) {
        weights.push_back(std::exp(-0.5 * k * k / (deviation * deviation)));
        for (int power = 0; power < 3; ++power) sums[power] += weights.back() * std::pow(k, power);
    }
    const double determinant = sums[0] * sums[2] - sums[1] * sums[1];
    for (int k = first; k <= last; ++k) {
        weights[k - first] *= determinant > 1e-9 ? (sums[2] - sums[1] * k) / determinant : 1 / sums[0];
    }
    return weights;
}

}  // namespace

cv::Matx33d gaussianCorrection(Motions motions, std::size_t at, double deviation, std::size_t reach) {
    const int first = -static_cast<int>(std::min(at, reach));
    const int last = static_cast<int>(std::min(motions.size() - 1 - at, reach));
    const std::vector<double> weights = lineWeights(first, last, deviation);
    cv::Matx33d mean = cv::Matx33d::eye() * weights[-first];
    cv::Matx33d to = cv::Matx33d::eye();
    for (int k = 1; k <= last; ++k) {
        to = normalised(motions[at + k] * to);
        mean += to * weights[k - first];
    }
    to = cv::Matx33d::eye();
    for (int k = -1; k >= first; --k) {
        to = normalised(motions[at + k + 1].inv() * to);
        mean += to * weights[k - first];
    }
    return normalised(mean.inv());
}

}  // namespace eishost
