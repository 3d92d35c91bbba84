// How much an aligned frame differs from the reference, quad by quad.
#pragma once

#include <cstdint>
#include <vector>

#include "host/picture/picture.h"

namespace eishost {

// The evidence of a quad is the sum of absolute differences of its four luma samples and, twice, of its two chroma
// samples, added up over three by three quads: noise averages out, motion does not, and whichever plane shows it, all
// three follow. At most 9 * (4 + 4) * 255, which 16 bits hold.
//
// Rows are asked for from top to bottom; beyond the picture its outermost quads repeat.
class EvidenceRows {
  public:
    EvidenceRows(const Picture& reference, const Picture& frame);

    // The evidence of a row of quads. Valid until the next call.
    const std::uint16_t* row(int quadRow);

  private:
    // Of one row, already added up along it.
    const std::uint16_t* along(int quadRow);

    const Picture& reference_;
    const Picture& frame_;
    int quads_;
    int held_[3] = {-1, -1, -1};
    std::vector<std::uint16_t> rows_[3];
    std::vector<std::uint16_t> single_;
    std::vector<std::uint16_t> columns_;
    std::vector<std::uint16_t> sum_;
};

}  // namespace eishost
