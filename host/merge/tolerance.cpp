#include "host/merge/tolerance.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "host/merge/evidence.h"
#include "host/program/bands.h"

namespace eishost {

namespace {

constexpr double kFullUpTo = 1.2;
constexpr double kNothingFrom = 1.6;

// Upper ends of the kinds of gradient, in quarters of a level a quad; the last one is open.
constexpr std::array<int, ToleranceMeasure::kSlopes - 1> kSlopeEnds{4, 8, 12, 16, 24, 32, 48, 64, 96, 128, 192};
constexpr int kKinds = PlaceMap::kLevels * ToleranceMeasure::kSlopes;
constexpr int kBinWidth = 8;
constexpr int kBins = 9 * 8 * 255 / kBinWidth + 1;
constexpr std::uint32_t kFewestQuads = 64;  // quads that a kind of place is known from
constexpr double kLeastEvidence = 36;       // half a level a sample: rounding alone

}  // namespace

ToleranceMeasure::ToleranceMeasure(const Picture& reference)
    : reference_(reference), places_(reference.mat(0)), histograms_(std::size_t{kKinds} * kBins) {}

int ToleranceMeasure::kind(int row, int column) const {
    const int activity = places_.activity.ptr(row)[column];
    const auto slope = std::upper_bound(kSlopeEnds.begin(), kSlopeEnds.end(), activity) - kSlopeEnds.begin();
    return places_.level(row, column) * kSlopes + static_cast<int>(slope);
}

void ToleranceMeasure::add(const AlignedFrame& frame) {
    const cv::Rect area(frame.area.x / 2, frame.area.y / 2, frame.area.width / 2, frame.area.height / 2);
    const int step = sampledStep(area.height);
    EvidenceRows evidence(reference_, frame.picture);
    for (int row = area.y; row < area.br().y; row += step) {
        const std::uint16_t* const found = evidence.row(row);
        for (int q = area.x; q < area.br().x; ++q) {
            ++histograms_[std::size_t(kind(row, q)) * kBins + found[q] / kBinWidth];
        }
    }
}

std::array<double, kKinds> ToleranceMeasure::usual() const {
    std::array<double, kKinds> usual{};
    for (int one = 0; one < kKinds; ++one) {
        const std::uint32_t* const histogram = histograms_.data() + std::size_t(one) * kBins;
        std::uint64_t count = 0;
        for (int bin = 0; bin < kBins; ++bin) count += histogram[bin];
        if (count < kFewestQuads) continue;
        std::uint64_t left = count / 2;
        int bin = 0;
        while (histogram[bin] < left) left -= histogram[bin++];
        usual[one] = kBinWidth * (bin + double(left) / histogram[bin]);
    }
    // A kind that hardly occurs takes after the nearest brightness with this gradient, or the next lower gradient.
    std::array<double, kKinds> filled = usual;
    for (int slope = 0; slope < kSlopes; ++slope) {
        for (int level = 0; level < PlaceMap::kLevels; ++level) {
            double& value = filled[level * kSlopes + slope];
            for (int away = 1; value == 0 && away < PlaceMap::kLevels; ++away) {
                for (const int other : {level - away, level + away}) {
                    if (value != 0 || other < 0 || other >= PlaceMap::kLevels) continue;
                    value = usual[other * kSlopes + slope];
                }
            }
            if (value == 0 && slope > 0) value = filled[level * kSlopes + slope - 1];
            value = std::max(value, kLeastEvidence);
        }
    }
    return filled;
}

ToleranceMap ToleranceMeasure::finish(int unit) const {
    const std::array<double, kKinds> table = usual();
    ToleranceMap map{cv::Mat(places_.activity.size(), CV_16U), cv::Mat(places_.activity.size(), CV_16U)};
    forBands(map.fall.rows, [&](int first, int end) {
        for (int row = first; row < end; ++row) {
            auto* const from = map.nothingFrom.ptr<std::uint16_t>(row);
            auto* const fall = map.fall.ptr<std::uint16_t>(row);
            for (int q = 0; q < map.fall.cols; ++q) {
                const double value = table[kind(row, q)];
                from[q] = cv::saturate_cast<std::uint16_t>(kNothingFrom * value);
                fall[q] = cv::saturate_cast<std::uint16_t>(65536.0 * unit / ((kNothingFrom - kFullUpTo) * value));
            }
        }
    });
    return map;
}

}  // namespace eishost
