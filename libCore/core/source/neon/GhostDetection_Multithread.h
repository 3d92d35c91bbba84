// Ghost detection: a soft mask of the places where a registered picture differs from its reference by more than noise.
// Objects that moved would leave ghosts there if the frames were merged.
#pragma once

#include "include/acore_types.h"
#include "include/st_ghostdetection.h"

namespace eis {

// Runs four overlapping bands on threads of their own; a picture under 256 pixels in a dimension is done whole on the
// caller's thread, with the worker pool, which has one owner: calls on such small pictures must not overlap. When
// ghostEnable is not 1, a large picture gets no more than a count of 0, a small one nothing.
// Bands start at quarters of a plane's bytes: heights should be multiples of 8, or the bands' chroma lies beside their
// luma; at heights that are no multiple of 4 bands leave gaps, in which the mask is 0.
//
// retStsOK, or retStsThreadError when a thread cannot be started. A small picture can end in retStsNoMemory; a band of
// a large one that does leaves its rows of the mask out, and its part of the count unless that was taken before memory
// ran out, and the status is retStsOK.
ret_status GhostDetection_Multithread_Maincall(ST_GHOSTDETECTION_PARAMS_IN* in, ST_GHOSTDETECTION_PARAMS_OUT* out);

}  // namespace eis
