// Opens a source that is compiled once for each vector target. The source includes this behind its other headers,
// having defined HWY_TARGET_INCLUDE as its own path; what it wraps in EIS_BEFORE_TARGET and EIS_AFTER_TARGET is
// compiled for each target, what stands in `#if HWY_ONCE` once.
//
// That code has internal linkage: functions of two sources that bear one name would otherwise be merged in silence.
#ifndef EIS_FRAME_VECTOR_UNIT_H
#define EIS_FRAME_VECTOR_UNIT_H

#define EIS_BEFORE_TARGET()   \
    HWY_BEFORE_NAMESPACE();   \
    namespace eis {           \
    namespace HWY_NAMESPACE { \
    namespace {               \
    namespace hn = hwy::HWY_NAMESPACE

#define EIS_AFTER_TARGET() \
    }                      \
    }                      \
    }                      \
    HWY_AFTER_NAMESPACE()

#endif

#include "hwy/foreach_target.h"
#include "hwy/highway.h"
