// The luma part of the definition.
#pragma once

#include "tests/denoise/reference.h"

namespace eis::test {

struct ReferenceLuma {
    Bytes denoised;
    Bytes gradQuarter;
    Bytes map;
};

ReferenceLuma referenceFilterLuma(const ReferencePicture& picture, const ReferenceBand& band,
                                  const ST_DN_PARAMS_VA& dn);
void referenceWriteLuma(const ReferencePicture& picture, const ReferenceBand& band, const ST_DN_PARAMS_VA& dn,
                        const ReferenceLuma& filtered);

}  // namespace eis::test
