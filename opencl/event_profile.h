// Timings of an OpenCL event.
#pragma once

#include "opencl/cl_platform.h"

namespace eis {

// Waits for the event, logs its times on the device under a title and releases it. The event's queue must have
// profiling.
void ReportEventProfile(cl_event event, const char* title);

}  // namespace eis
