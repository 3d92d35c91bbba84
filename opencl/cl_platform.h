// The OpenCL headers, at the version that the library asks of a runtime.
#pragma once

#define CL_TARGET_OPENCL_VERSION 120
// The extension entry is fetched by the platform-less call of OpenCL 1.1, as the target's runtime has it.
#define CL_USE_DEPRECATED_OPENCL_1_1_APIS
#include <CL/cl.h>
