// The ghost mask of a whole picture, or of one band of it.
//
// Luma and both chroma planes are compared at a quarter of the picture's dimensions; the masks are united, smoothed
// and scaled back up. Mask columns and rows past the last whole group of four keep what they hold. At widths that are
// a multiple of 128 the masks' morphology takes the picture's right end, up to 144 columns, as a ghost.
#pragma once

#include "include/acore_types.h"
#include "libCore/core/source/neon/ghost_records.h"

namespace eis {

// The whole picture. Opens the worker pool for the time of the call. retStsOK, retStsThreadError or retStsNoMemory.
ret_status GhostDetectionMFNRPrivate_UpScaleX16_neon(ST_GHOSTDETECTION_PARAMS_IN* in,
                                                     ST_GHOSTDETECTION_PARAMS_OUT* out);

// One band: reads its overlap rows too, writes the mask of its own rows. retStsOK or retStsNoMemory.
ret_status GhostDetectionMFNRPrivate_UpScaleX16_neon_new(ST_GHOST_BAND_PARAMS* band);

}  // namespace eis
