#include "host/merge/plane_model.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "host/merge/accumulate.h"
#include "host/program/bands.h"

namespace eishost {

namespace {

constexpr double kSettledShare = 0.7;   // of all frames
constexpr double kFewestSamples = 200;  // samples that a variance is measured from
constexpr double kLeastError = 0.05;    // of the noise
constexpr double kRounding = 1.0 / 12;
// Classes of activity that noise is measured in: in busier ones registration leaves as much.
constexpr int kQuietest = (kActivityClasses - 1) / 3;

// The class of each activity, so that the settled quads are shared out evenly.
std::array<std::uint8_t, 256> classTable(const PlaceMap& places, const cv::Mat& settled) {
    std::array<std::uint64_t, 256> histogram{};
    std::uint64_t count = 0;
    for (int row = 0; row < settled.rows; ++row) {
        for (int q = 0; q < settled.cols; ++q) {
            if (settled.ptr(row)[q] == 0) continue;
            ++histogram[places.activity.ptr(row)[q]];
            ++count;
        }
    }
    std::array<std::uint8_t, 256> table{};
    std::uint64_t below = 0;
    for (int activity = 0; activity < 256; ++activity) {
        const std::uint64_t middle = below + histogram[activity] / 2;
        table[activity] = static_cast<std::uint8_t>(
            count == 0 ? 0 : std::min<std::uint64_t>(kActivityClasses * middle / count, kActivityClasses - 1));
        below += histogram[activity];
    }
    return table;
}

struct PlaneStatistics {
    std::array<FilterFit, kActivityClasses> fits;
    std::array<double, PlaceMap::kLevels> squares{};
    std::array<double, PlaceMap::kLevels> counts{};
    std::array<std::array<double, PlaceMap::kLevels>, kActivityClasses> levels{};
};

PlaneStatistics gather(const cv::Mat& reference, const cv::Mat& mean, const QuadKinds& kinds, int plane) {
    PlaneStatistics statistics;
    const int part = samplesAlong(plane);
    NeighbourRows neighbours(mean);
    const int step = sampledStep(kinds.settled.rows);
    for (int row = 0; row < kinds.settled.rows; row += step) {
        const int line = part * row + (row / step) % part;
        neighbours.load(line);
        const std::uint8_t* const wanted = reference.ptr(line);
        const auto* const middle = mean.ptr<std::uint16_t>(line);
        for (int x = 0; x < mean.cols; ++x) {
            const int q = x / part;
            if (kinds.settled.ptr(row)[q] == 0) continue;
            std::array<double, kFilterGroups> around{};
            for (int i = 0; i < kFilterGroups; ++i)
                around[i] = neighbours.group(i)[x] * (1.0 / Accumulator::kMeanUnits);
            const double difference = wanted[x] - middle[x] * (1.0 / Accumulator::kMeanUnits);
            const int one = kinds.classes.ptr(row)[q];
            const int level = kinds.places.level(row, q);
            statistics.fits[one].add(around, difference);
            statistics.levels[one][level] += 1;
            if (one <= kQuietest) {
                statistics.squares[level] += difference * difference;
                statistics.counts[level] += 1;
            }
        }
    }
    return statistics;
}

// Values at brightnesses that were not seen come from the nearest that were.
void fillLevels(std::array<double, PlaceMap::kLevels>& values) {
    const std::array<double, PlaceMap::kLevels> known = values;
    const double any = *std::max_element(known.begin(), known.end());
    for (int level = 0; level < PlaceMap::kLevels; ++level) {
        for (int away = 0; away < PlaceMap::kLevels && values[level] == 0; ++away) {
            for (const int other : {level - away, level + away}) {
                if (other >= 0 && other < PlaceMap::kLevels && values[level] == 0) values[level] = known[other];
            }
        }
        if (values[level] == 0) values[level] = std::max(any, 1.0);
    }
}

PlaneModel modelOf(const PlaneStatistics& statistics, int plane, int frames) {
    PlaneModel model;
    const double share = frames / (frames + kAlignedNoise[plane]);
    for (int level = 0; level < PlaceMap::kLevels; ++level) {
        if (statistics.counts[level] < kFewestSamples) continue;
        model.noise[level] = std::max(kRounding, share * statistics.squares[level] / statistics.counts[level]);
    }
    fillLevels(model.noise);
    FilterFit whole;
    for (const FilterFit& fit : statistics.fits) whole.add(fit);
    double noiseSum = 0;
    for (int one = 0; one < kActivityClasses; ++one) {
        const FilterFit& fit = statistics.fits[one].count() < kFewestSamples ? whole : statistics.fits[one];
        model.filters[one] = fit.solve();
        double noise = 0;
        for (int level = 0; level < PlaceMap::kLevels; ++level) {
            noise += statistics.levels[one][level] * model.noise[level];
        }
        noiseSum += noise;
        noise = statistics.fits[one].count() > 0 ? noise / statistics.fits[one].count() : model.noise[0];
        model.classNoise[one] = noise;
        model.error[one] = std::max(fit.residual(model.filters[one]) - noise, kLeastError * noise);
    }
    model.meanNoise = whole.count() > 0 ? noiseSum / whole.count() : model.noise[PlaceMap::kLevels / 2];
    return model;
}

}  // namespace

QuadKinds::QuadKinds(const cv::Mat& luma, const cv::Mat& weights, double most)
    : places(luma), settled(weights >= kSettledShare * most) {
    const std::array<std::uint8_t, 256> table = classTable(places, settled);
    cv::LUT(places.activity, cv::Mat(1, 256, CV_8U, const_cast<std::uint8_t*>(table.data())), classes);
}

PlaneModel learnPlane(const cv::Mat& reference, const cv::Mat& mean, const QuadKinds& kinds, int plane, int frames) {
    return modelOf(gather(reference, mean, kinds, plane), plane, frames);
}

cv::Mat filteredMean(const cv::Mat& mean, const QuadKinds& kinds, const PlaneModel& model, int plane) {
    const int part = samplesAlong(plane);
    cv::Mat out(mean.size(), CV_16U);
    forBands(mean.rows, [&](int first, int end) {
        NeighbourRows neighbours(mean);
        for (int line = first; line < end; ++line) {
            neighbours.load(line);
            const std::uint8_t* const classes = kinds.classes.ptr(line / part);
            const auto* const middle = mean.ptr<std::uint16_t>(line);
            auto* const to = out.ptr<std::uint16_t>(line);
            for (int x = 0; x < mean.cols; ++x) {
                const std::array<float, kFilterGroups>& filter = model.filters[classes[x / part]];
                float sum = middle[x];
                for (int i = 0; i < kFilterGroups; ++i) {
                    sum += filter[i] * static_cast<float>(neighbours.group(i)[x]);
                }
                to[x] = static_cast<std::uint16_t>(std::clamp(sum + 0.5F, 0.0F, 255.0F * Accumulator::kMeanUnits));
            }
        }
    });
    return out;
}

}  // namespace eishost
