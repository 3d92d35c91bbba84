// Shrink tables: what is left of a detail coefficient once its noise is taken out.
#pragma once

#include <cstdint>

namespace eis {

// 1024 entries around 512. Entry 512 + k is k - f(k), entry 512 - k its negative, with f(k) = k * (1 - k / 511)^e the
// part removed, which is a quarter of k at k = strength. A small coefficient loses nearly all, a large one nearly
// nothing; a strength of 0, or of 511 and more, leaves every coefficient as it is. Entry 0 is 0.
void BuildShrinkLut(int16_t* dest, int32_t strength);

}  // namespace eis
