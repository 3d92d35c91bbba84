#include "host/merge/accumulate.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "host/merge/evidence.h"
#include "host/merge/rounding.h"
#include "host/program/bands.h"

namespace eishost {

namespace {

constexpr int kFinestUnit = 16;

void addPlain(const std::uint8_t* __restrict samples, int count, std::uint16_t unit, std::uint16_t* __restrict sum) {
    for (int i = 0; i < count; ++i) sum[i] = static_cast<std::uint16_t>(sum[i] + samples[i] * unit);
}

void addWeighted(const std::uint8_t* __restrict samples, const std::uint16_t* __restrict weights, int count,
                 std::uint16_t* __restrict sum) {
    for (int i = 0; i < count; ++i) sum[i] = static_cast<std::uint16_t>(sum[i] + samples[i] * weights[i]);
}

void weigh(const std::uint16_t* __restrict evidence, const std::uint16_t* __restrict nothingFrom,
           const std::uint16_t* __restrict fall, int count, std::uint16_t unit, std::uint16_t* __restrict weights) {
    for (int q = 0; q < count; ++q) {
        const auto room = static_cast<std::uint16_t>(std::max(nothingFrom[q], evidence[q]) - evidence[q]);
        const auto weight = static_cast<std::uint16_t>((std::uint32_t{room} * fall[q]) >> 16);
        weights[q] = std::min(weight, unit);
    }
}

void doubleColumns(const std::uint16_t* __restrict quads, int count, std::uint16_t* __restrict columns) {
    for (int q = 0; q < count; ++q) {
        columns[2 * q] = quads[q];
        columns[2 * q + 1] = quads[q];
    }
}

void addWeights(const std::uint16_t* __restrict weights, int count, std::uint8_t* __restrict sum) {
    for (int q = 0; q < count; ++q) sum[q] = static_cast<std::uint8_t>(sum[q] + weights[q]);
}

void dropGhosts(const cv::Mat& ghosts, int quadRow, int count, std::uint16_t* weights) {
    const std::uint8_t* const upper = ghosts.ptr(2 * quadRow);
    const std::uint8_t* const lower = ghosts.ptr(2 * quadRow + 1);
    for (int q = 0; q < count; ++q) {
        if ((upper[2 * q] | upper[2 * q + 1] | lower[2 * q] | lower[2 * q + 1]) != 0) weights[q] = 0;
    }
}

}  // namespace

int Accumulator::unitFor(int frames) {
    return std::min(255 / std::max(frames, 1), kFinestUnit);  // the sum of weights is a byte
}

Accumulator::Accumulator(const Picture& reference, int frames, std::optional<ToleranceMap> tolerance)
    : reference_(reference), unit_(unitFor(frames)), tolerance_(std::move(tolerance)) {
    for (int plane = 0; plane < 3; ++plane) {
        const cv::Mat samples = reference.mat(plane);
        sums_[plane] = cv::Mat::zeros(samples.size(), CV_16U);
    }
    weights_ = cv::Mat::zeros(sums_[1].size(), CV_8U);
}

// The weights of a row of the frame's quads, inside its area.
void Accumulator::weighRow(const AlignedFrame& frame, EvidenceRows* evidence, int row, std::uint16_t* weights) const {
    const int from = frame.area.x / 2;
    const int count = frame.area.width / 2;
    const auto unit = static_cast<std::uint16_t>(unit_);
    if (evidence != nullptr) {
        weigh(evidence->row(row) + from, tolerance_->nothingFrom.ptr<std::uint16_t>(row) + from,
              tolerance_->fall.ptr<std::uint16_t>(row) + from, count, unit, weights);
    } else {
        std::fill_n(weights, count, unit);
    }
    if (!frame.ghosts.empty()) {
        dropGhosts(frame.ghosts(cv::Rect(2 * from, 0, 2 * count, frame.ghosts.rows)), row, count, weights);
    }
}

// Adds a row of the frame's quads, by weights that are all whole or by those in `columns`, each twice.
void Accumulator::addRow(const AlignedFrame& frame, int row, bool whole, const std::uint16_t* weights,
                         const std::uint16_t* columns) {
    const int from = frame.area.x / 2;
    const int count = frame.area.width / 2;
    const auto unit = static_cast<std::uint16_t>(unit_);
    for (const int line : {2 * row, 2 * row + 1}) {
        const std::uint8_t* const samples = frame.picture.mat(0).ptr(line) + 2 * from;
        auto* const sum = sums_[0].ptr<std::uint16_t>(line) + 2 * from;
        whole ? addPlain(samples, 2 * count, unit, sum) : addWeighted(samples, columns, 2 * count, sum);
    }
    for (const int plane : {1, 2}) {
        const std::uint8_t* const samples = frame.picture.mat(plane).ptr(row) + from;
        auto* const sum = sums_[plane].ptr<std::uint16_t>(row) + from;
        whole ? addPlain(samples, count, unit, sum) : addWeighted(samples, weights, count, sum);
    }
}

void Accumulator::add(std::span<const AlignedFrame> frames) {
    const int quads = weights_.cols;
    forBands(weights_.rows, [&](int first, int end) {
        std::vector<std::unique_ptr<EvidenceRows>> evidence(frames.size());
        for (std::size_t k = 0; tolerance_ && k < frames.size(); ++k) {
            evidence[k] = std::make_unique<EvidenceRows>(reference_, frames[k].picture);
        }
        std::vector<std::uint16_t> weights(quads);
        std::vector<std::uint16_t> columns(std::size_t(quads) * 2);
        for (int row = first; row < end; ++row) {
            for (std::size_t k = 0; k < frames.size(); ++k) {
                const AlignedFrame& frame = frames[k];
                if (2 * row < frame.area.y || 2 * row >= frame.area.br().y) continue;
                const int count = frame.area.width / 2;
                weighRow(frame, evidence[k].get(), row, weights.data());
                addWeights(weights.data(), count, weights_.ptr(row) + frame.area.x / 2);
                const bool whole = !tolerance_ && frame.ghosts.empty();
                if (!whole) doubleColumns(weights.data(), count, columns.data());
                addRow(frame, row, whole, weights.data(), columns.data());
            }
        }
    });
}

Picture Accumulator::mean() const {
    Picture out(reference_.width, reference_.height);
    out.range = reference_.range;
    const int quads = weights_.cols;
    forBands(weights_.rows, [&](int first, int end) {
        std::vector<float> shares(quads);
        std::vector<float> columns(std::size_t(quads) * 2);
        const auto divide = [unit = static_cast<float>(unit_)](
                                const std::uint8_t* __restrict reference, const std::uint16_t* __restrict sum,
                                const float* __restrict share, int count, std::uint8_t* __restrict mean) {
            for (int i = 0; i < count; ++i) {
                mean[i] = static_cast<std::uint8_t>(
                    roundedSample((static_cast<float>(sum[i]) + unit * reference[i]) * share[i]));
            }
        };
        for (int row = first; row < end; ++row) {
            const std::uint8_t* const weights = weights_.ptr(row);
            for (int q = 0; q < quads; ++q) shares[q] = 1 / static_cast<float>(weights[q] + unit_);
            for (int q = 0; q < quads; ++q) columns[2 * q] = columns[2 * q + 1] = shares[q];
            for (const int line : {2 * row, 2 * row + 1}) {
                divide(reference_.mat(0).ptr(line), sums_[0].ptr<std::uint16_t>(line), columns.data(), 2 * quads,
                       out.mat(0).ptr(line));
            }
            for (const int plane : {1, 2}) {
                divide(reference_.mat(plane).ptr(row), sums_[plane].ptr<std::uint16_t>(row), shares.data(), quads,
                       out.mat(plane).ptr(row));
            }
        }
    });
    return out;
}

cv::Mat Accumulator::takeMean(int plane) {
    const int part = plane == 0 ? 2 : 1;
    cv::Mat mean = sums_[plane];
    forBands(weights_.rows, [&](int first, int end) {
        std::vector<float> shares(mean.cols);
        std::vector<float> others(mean.cols);
        const auto divide = [](const std::uint8_t* __restrict reference, const float* __restrict share,
                               const float* __restrict other, int count, std::uint16_t* __restrict sum) {
            for (int i = 0; i < count; ++i) {
                sum[i] = static_cast<std::uint16_t>(
                    roundedSample(static_cast<float>(sum[i]) * share[i] + reference[i] * other[i]));
            }
        };
        for (int row = first; row < end; ++row) {
            const std::uint8_t* const weights = weights_.ptr(row);
            for (int i = 0; i < mean.cols; ++i) {
                const int weight = weights[i / part];
                shares[i] = kMeanUnits / static_cast<float>(std::max(weight, 1));
                others[i] = weight == 0 ? kMeanUnits : 0;
            }
            for (int line = 0; line < part; ++line) {
                divide(reference_.mat(plane).ptr(part * row + line), shares.data(), others.data(), mean.cols,
                       mean.ptr<std::uint16_t>(part * row + line));
            }
        }
    });
    return mean;
}

}  // namespace eishost
