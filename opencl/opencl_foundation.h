// The lowest layer of the GPU path: platform, device, context and command queue.
#pragma once

#include <cstdint>

#include "opencl/cl_platform.h"

namespace eis {

struct OpenCLFoundation {
    cl_platform_id* platforms;  // numPlatforms long, as are the three arrays below
    uint32_t numPlatforms;
    int32_t platformIndex;   // the chosen platform, -1 while none is chosen
    cl_device_id** devices;  // per platform; null where it has no device
    uint32_t* deviceCounts;
    int32_t* deviceIndices;  // the chosen device of a platform, -1 where none
    cl_context context;
    cl_command_queue cmdQueueGPU;
};

// Finds the first platform whose vendor text is `vendor` and its first GPU, and creates a context and a queue.
// 0; -4 or -1000 when there is no memory, -2 without such a platform, -1 without such a GPU, else an OpenCL status;
// *out is null then. With no platform at all and an OpenCL status of 0 the foundation has no context and no chosen
// platform.
int setupOpencl(OpenCLFoundation** out, const char* vendor);

// Releases everything that exists; null is allowed. Always 0.
int cleanOpencl(OpenCLFoundation* handle);

}  // namespace eis
