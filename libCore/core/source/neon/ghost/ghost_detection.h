// The ghost mask of a whole picture, or of one band of it.
//
// Luma and both chroma planes are compared at a quarter of the picture's dimensions; the masks are united, smoothed
// and scaled back up. At widths off the grid of four the scaled mask's rows, up to three columns short, run on through
// the picture's: the mask leans, and is right at the top alone. Where no mask is left it is 0, as in rows past the last
// whole group of four. Where (width & ~3) is a multiple of 128 the masks' morphology takes the picture's right end, up
// to 144 columns, as a ghost.
#pragma once

#include "include/acore_types.h"
#include "include/st_ghostdetection.h"

namespace eis {

// The whole picture. Opens the worker pool, which has one owner, for the time of the call: two calls must not overlap.
// retStsOK, retStsThreadError or retStsNoMemory.
ret_status GhostDetectionMFNRPrivate_UpScaleX16_neon(ST_GHOSTDETECTION_PARAMS_IN* in,
                                                     ST_GHOSTDETECTION_PARAMS_OUT* out);

// One band: reads its overlap rows too, writes the mask of its own rows. retStsOK or retStsNoMemory. The count is
// stored before the mask is smoothed: a band that has no memory from there on keeps it, and leaves its rows.
ret_status GhostDetectionMFNRPrivate_UpScaleX16_neon_new(ST_GHOST_BAND_PARAMS* band);

}  // namespace eis
