// The OpenCL program of the multi-frame filter and its kernels.
#pragma once

#include "opencl/opencl_foundation.h"

namespace eis {

inline constexpr int kKernelCount = 30;
inline constexpr int kTemporalFilterKernel = 0;
inline constexpr int kProgramBinary = 1;  // a mode of buildProgram; any other is program source

// The import entry of the cl_arm_import_memory extension. `memory` points to the handle that the properties name.
using ImportMemory = cl_mem (*)(cl_context context, cl_mem_flags flags, const intptr_t* properties, void* memory,
                                size_t size, cl_int* status);

struct OpenCLAlgoContext {
    OpenCLFoundation* foundation;
    cl_program program;
    cl_kernel kernels[kKernelCount];
    ImportMemory clImportMemoryARM;
};

// Builds the context from a program file. 0, or a status: -34 for null input or no memory, -30 without the import
// entry, else that of buildProgram. On failure nothing of the context is left and *out is null; the foundation stays
// the caller's.
int setupOpencl_algo(OpenCLFoundation* handleOpenCLFoundation, const char* path, int mode, OpenCLAlgoContext** out);

// Releases program, context and foundation. 0, -34 for null input, or the status of releaseProgram.
int cleanOpencl_algo(OpenCLAlgoContext* phandleAlgoOpenCL);

// Creates and builds the program and its kernels. 0, -34, or an OpenCL status; what was made stays in the context.
int buildProgram(OpenCLAlgoContext* pCtxAlgo, const char* path, int mode);

// Releases kernels and program. 0, -34, or the status of a failed reference count query.
int releaseProgram(OpenCLAlgoContext* pCtxAlgo);

// Placeholders: they test their input and hold no buffers. 0 or -34.
int allocParamBuffer(OpenCLAlgoContext* pCtxAlgo);
int releaseParamBuffer(OpenCLAlgoContext* pCtxAlgo);

}  // namespace eis
