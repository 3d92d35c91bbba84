// The chroma part of the definition.
#pragma once

#include "tests/denoise/reference.h"

namespace eis::test {

// Both planes at quarter scale.
struct QuarterChroma {
    Bytes planes[2];
};

// gradQuarter is empty where luma takes no part.
QuarterChroma referenceFilterChroma(const ReferencePicture& picture, const ReferenceBand& band,
                                    const ST_DN_PARAMS_VA& dn, const Bytes& gradQuarter);
void referenceWriteChroma(const ReferencePicture& picture, const ReferenceBand& band, const QuarterChroma& filtered);

}  // namespace eis::test
