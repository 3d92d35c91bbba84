// The ghost mask of a whole picture, composed of plain forms.
#pragma once

#include <cstdint>
#include <vector>

#include "include/st_ghostdetection.h"

namespace eis::test {

struct ReferenceGhosts {
    std::vector<uint8_t> mask;  // without gaps
    uint32_t size;              // pixels, as luma shows it
};
ReferenceGhosts referenceGhosts(const ST_GHOSTDETECTION_PARAMS_IN& in);

}  // namespace eis::test
