#include "host/merge/evidence.h"

#include <algorithm>
#include <cstdlib>

namespace eishost {

namespace {

using Samples = const std::uint8_t* __restrict;

std::uint16_t difference(std::uint8_t a, std::uint8_t b) {
    return static_cast<std::uint16_t>(std::max(a, b) - std::min(a, b));
}

void lumaColumns(Samples upperRef, Samples upper, Samples lowerRef, Samples lower, int width,
                 std::uint16_t* __restrict out) {
    for (int x = 0; x < width; ++x) {
        out[x] = difference(upperRef[x], upper[x]) + difference(lowerRef[x], lower[x]);
    }
}

void addChroma(const std::uint16_t* __restrict columns, Samples uRef, Samples u, Samples vRef, Samples v, int quads,
               std::uint16_t* __restrict out) {
    for (int q = 0; q < quads; ++q) {
        out[q] = columns[2 * q] + columns[2 * q + 1] + 2 * (difference(uRef[q], u[q]) + difference(vRef[q], v[q]));
    }
}

void addThree(const std::uint16_t* __restrict a, const std::uint16_t* __restrict b, const std::uint16_t* __restrict c,
              int count, std::uint16_t* __restrict out) {
    for (int i = 0; i < count; ++i) out[i] = a[i] + b[i] + c[i];
}

}  // namespace

EvidenceRows::EvidenceRows(const Picture& reference, const Picture& frame)
    : reference_(reference),
      frame_(frame),
      quads_(reference.chromaWidth()),
      single_(quads_ + 2),
      columns_(reference.width),
      sum_(quads_) {
    for (std::vector<std::uint16_t>& row : rows_) row.resize(quads_);
}

const std::uint16_t* EvidenceRows::along(int quadRow) {
    const int row = std::clamp(quadRow, 0, reference_.chromaHeight() - 1);
    std::vector<std::uint16_t>& kept = rows_[row % 3];
    if (held_[row % 3] == row) return kept.data();
    held_[row % 3] = row;
    const auto luma = [row](const Picture& picture, int line) {
        return picture.planes[0].data() + std::size_t(2 * row + line) * picture.width;
    };
    const auto chroma = [row, this](const Picture& picture, int plane) {
        return picture.planes[plane].data() + std::size_t(row) * quads_;
    };
    lumaColumns(luma(reference_, 0), luma(frame_, 0), luma(reference_, 1), luma(frame_, 1), reference_.width,
                columns_.data());
    addChroma(columns_.data(), chroma(reference_, 1), chroma(frame_, 1), chroma(reference_, 2), chroma(frame_, 2),
              quads_, single_.data() + 1);
    single_.front() = single_[1];
    single_.back() = single_[quads_];
    addThree(single_.data(), single_.data() + 1, single_.data() + 2, quads_, kept.data());
    return kept.data();
}

const std::uint16_t* EvidenceRows::row(int quadRow) {
    const std::uint16_t* const above = along(quadRow - 1);
    const std::uint16_t* const here = along(quadRow);
    const std::uint16_t* const below = along(quadRow + 1);
    addThree(above, here, below, quads_, sum_.data());
    return sum_.data();
}

}  // namespace eishost
