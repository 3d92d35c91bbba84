// Reflection of sample positions at the ends of a line, for the wavelet's filter.
#pragma once

namespace eis {

// About the first and the last of n samples, without repeating them; again until the position is inside.
inline int mirrorIndex(int i, int n) {
    if (n == 1) return 0;
    while (i < 0 || i >= n) i = i < 0 ? -i : 2 * (n - 1) - i;
    return i;
}

}  // namespace eis
