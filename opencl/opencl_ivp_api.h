// The top of the GPU path: its one live context and its one worker thread. One host thread drives it.
#pragma once

#include <pthread.h>

#include <cstddef>

#include "include/acore_types.h"
#include "opencl/opencl_program.h"

namespace eis {

inline constexpr size_t kGpuThreadParamSize = 2048;

// The worker. A thread handle has no value that means none, and a thread must not be joined twice.
struct GpuThread {
    pthread_t handle;
    bool exists;
    bool joined;
    void* result;  // once joined
};

extern OpenCLAlgoContext* g_handleAlgoOpenCL;
extern GpuThread g_gpuThread;
extern char g_gpuThreadParam[kGpuThreadParamSize];

// The live context, or null.
OpenCLAlgoContext* GetHandleAlgoOpenCL();

// Brings the path up, replacing a live context; the argument is not used. 0, or -997: the log has the details.
ret_status SetUpOpenclMFNR(void* unused);

// Tears the path down. 0, also when nothing was up; -997 when the release failed, and then too nothing is left.
ret_status CleanOpenclMFNR();

// Starts the worker on a copy of `size` bytes (at most 2048) of param; with a null param it sees what the copy held
// before. 0, or -1: also over a worker that was not joined yet, which is joined then.
int createGPUThread(void* (*routine)(void*), void* param, int size);

// Joins the worker. -1 when its result was not null, else 0, also without a worker.
int joinGPUThread();

}  // namespace eis
