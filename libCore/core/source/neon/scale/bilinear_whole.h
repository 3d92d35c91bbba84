// Bilinear scaling by 1/2, 1 and 2, where all samples of a row have the same few weights.
#pragma once

#include "libCore/core/source/frame/plane_view.h"

namespace eis {

// Scales an unpadded plane as ScaleUnpadded does, if its sizes stand in such a ratio. Returns whether they do.
bool ScaleWholeRatio(const PlaneView& from, const PlaneView& to);

}  // namespace eis
