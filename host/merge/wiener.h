// Filters of five by five samples that a burst teaches itself.
#pragma once

#include <array>
#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

namespace eishost {

// Samples around a position, in groups of equal distance: 1, sqrt 2, 2, sqrt 5, 2 sqrt 2.
constexpr int kFilterGroups = 5;

// What each group's samples have beyond the one in the middle, added up, along the rows of a 16-bit plane. Beyond the
// plane its outermost samples repeat.
class NeighbourRows {
  public:
    explicit NeighbourRows(const cv::Mat& plane);

    void load(int row);
    const std::int32_t* group(int index) const { return groups_[index].data(); }

  private:
    const std::int16_t* padded(int row);

    const cv::Mat& plane_;
    int held_[5] = {-1, -1, -1, -1, -1};
    std::vector<std::int16_t> rows_[5];
    std::vector<std::int32_t> groups_[kFilterGroups];
};

// The symmetric filter that brings one picture nearest to another in the least squares; its coefficients add up to 1.
// When the noise of the two is independent, the other one may be noisy: that adds the same to every filter's error, so
// the filter is the one that would be found with the clean picture (Wiener, Extrapolation, interpolation, and smoothing
// of stationary time series, 1949; Lehtinen et al., Noise2Noise, ICML 2018). It sharpens what resampling has softened
// as far as the noise allows, or smooths.
class FilterFit {
  public:
    void add(const std::array<double, kFilterGroups>& neighbours, double wanted);
    // Of some other places.
    void add(const FilterFit& other);

    double count() const { return count_; }
    std::array<float, kFilterGroups> solve() const;
    // The mean squared difference that these coefficients leave.
    double residual(const std::array<float, kFilterGroups>& coefficients) const;

  private:
    double products_[kFilterGroups][kFilterGroups] = {};
    double wanted_[kFilterGroups] = {};
    double energy_ = 0;
    double count_ = 0;
};

}  // namespace eishost
