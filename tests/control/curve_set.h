// The six builders with their ranges, and sweeps over them.
#pragma once

#include <cstdint>
#include <vector>

#include "libCore/core/source/control/control_curves.h"
#include "libCore/core/source/control/shrink_lut.h"

namespace eis::test {

struct Curve {
    const char* name;
    void (*build)(int16_t* dest, int32_t strength);
    void (*plain)(int16_t* dest, int32_t strength);
    int entries;
    int zero;         // the entry of a zero input
    int maxStrength;  // the last one whose logarithm exists
};

inline constexpr Curve kCurves[] = {
    {"luma", BuildLumaCurve, BuildLumaCurve_plain, 241, 120, 510},
    {"luma single", BuildLumaCurveSingle, BuildLumaCurveSingle, 241, 120, 510},
    {"chroma", BuildChromaCurve, BuildChromaCurve_plain, 256, 0, 254},
    {"threshold", BuildThresholdCurve, BuildThresholdCurve_plain, 256, 128, 254},
    {"tail", BuildTailCurve, BuildTailCurve_plain, 256, 128, 254},
    {"shrink", BuildShrinkLut, BuildShrinkLut, 1024, 512, 510},
};

// A builder clears more than some tables hold.
inline std::vector<int16_t> buildCurve(const Curve& curve, int32_t strength, bool plain) {
    std::vector<int16_t> table(1024, 0x5a5a);
    (plain ? curve.plain : curve.build)(table.data(), strength);
    table.resize(curve.entries);
    return table;
}

// The tables of strengths first to last, one behind the other.
inline std::vector<int16_t> sweepCurve(const Curve& curve, int32_t first, int32_t last, bool plain) {
    std::vector<int16_t> all;
    for (int32_t strength = first; strength <= last; ++strength) {
        const std::vector<int16_t> table = buildCurve(curve, strength, plain);
        all.insert(all.end(), table.begin(), table.end());
    }
    return all;
}

}  // namespace eis::test
