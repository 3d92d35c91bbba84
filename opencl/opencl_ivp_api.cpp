#include "opencl/opencl_ivp_api.h"

#include <pthread.h>
#include <unistd.h>

#include <cstdio>
#include <utility>

#include "bounded/bounded_format.h"
#include "bounded/bounded_memory.h"
#include "include/acore_api.h"
#include "libCore/core/source/frame/export.h"
#include "libCore/core/source/frame/log.h"
#include "libCore/core/source/frame/trace.h"
#include "libCore/core/source/frame/traced_thread.h"

namespace eis {

OpenCLAlgoContext* g_handleAlgoOpenCL = nullptr;
GpuThread g_gpuThread{};
alignas(16) char g_gpuThreadParam[kGpuThreadParamSize];

namespace {

constexpr char kUnit[] = "opencl/opencl_ivp_api";
constexpr TraceSite kCreateSite{kUnit, "int createGPUThread(void* (*)(void*), void*, int)"};
constexpr TraceSite kJoinSite{kUnit, "int joinGPUThread()"};
constexpr char kVendor[] = "ARM";
constexpr char kArchitectureKey[] = "/proc/device-tree/orvi,gpu_arch";
constexpr char kProgramPath[] = "/system/etc/camera/libcl/mfnr.cl";
constexpr char kProgramPathV2[] = "/system/etc/camera/libcl/mfnr_v2.cl";

void traceContext(void (*trace)(const char*, ...), const char* signature, int line, const OpenCLAlgoContext* context) {
    trace(kTraceTag, kUnit, signature, line, kTraceMemory, 0, context, sizeof(OpenCLAlgoContext));
}

// Releases the live context; false, with a log line, when its release reports a failure. The handle is null afterwards.
bool releaseContext(const char* signature, int line) {
    OpenCLAlgoContext* context = std::exchange(g_handleAlgoOpenCL, nullptr);
    if (cleanOpencl_algo(context) != 0) {
        EIS_LOG_ERROR("[GPU]: CleanOpenclMFNR failed!");
        return false;
    }
    traceContext(traceRelease, signature, line, context);
    return true;
}

// The presence of the architecture's key selects the second program file.
const char* chooseProgram() {
    std::FILE* key = std::fopen(kArchitectureKey, "r");
    if (key == nullptr) {
        EIS_LOG_INFO("loadV2 = false");
        return kProgramPath;
    }
    const bool present = access(kArchitectureKey, F_OK) == 0;
    if (present) EIS_LOG_INFO("loadV2 = true");
    (void)std::fclose(key);
    return present ? kProgramPathV2 : kProgramPath;
}

void joinWorkerOnce() {
    if (g_gpuThread.joined) return;
    pthread_join(g_gpuThread.handle, &g_gpuThread.result);
    traceRelease(kTraceTag, kJoinSite.unit, kJoinSite.signature, __LINE__, kTraceThread, g_gpuThread.handle);
    g_gpuThread.joined = true;
}

}  // namespace

OpenCLAlgoContext* GetHandleAlgoOpenCL() {
    return g_handleAlgoOpenCL;
}

ret_status SetUpOpenclMFNR(void* /*unused*/) {
    constexpr char kSignature[] = "ret_status SetUpOpenclMFNR(void*)";
    if (g_handleAlgoOpenCL != nullptr) (void)releaseContext(kSignature, __LINE__);
    const char* program = chooseProgram();
    OpenCLFoundation* foundation = nullptr;
    if (setupOpencl(&foundation, kVendor) != 0) return retStsThreadError;
    char path[256];
    (void)sprintf_s(path, sizeof path, "%s", program);
    if (setupOpencl_algo(foundation, path, kProgramBinary, &g_handleAlgoOpenCL) != 0) {
        cleanOpencl(foundation);
        return retStsThreadError;
    }
    traceContext(traceAcquire, kSignature, __LINE__, g_handleAlgoOpenCL);
    return retStsOK;
}

ret_status CleanOpenclMFNR() {
    if (g_handleAlgoOpenCL == nullptr) return retStsOK;
    return releaseContext("ret_status CleanOpenclMFNR()", __LINE__) ? retStsOK : retStsThreadError;
}

int createGPUThread(void* (*routine)(void*), void* param, int size) {
    if (g_gpuThread.exists) {
        joinWorkerOnce();
        return -1;
    }
    if (size > static_cast<int>(kGpuThreadParamSize)) {
        EIS_LOG_ERROR("[GPU]: Set Thread Param failed, out of size!");
        return -1;
    }
    // A negative size is refused by the copy, which clears the parameters.
    if (param != nullptr) {
        (void)memcpy_s(g_gpuThreadParam, sizeof g_gpuThreadParam, param, static_cast<size_t>(size));
    }
    if (startTracedThread(&g_gpuThread.handle, nullptr, routine, g_gpuThreadParam, kCreateSite) != 0) {
        EIS_LOG_ERROR("Thread Create Failed!");
        return -1;
    }
    g_gpuThread.exists = true;
    g_gpuThread.joined = false;
    g_gpuThread.result = nullptr;
    // Longer than the platform's limit: the thread stays unnamed there.
    (void)pthread_setname_np(g_gpuThread.handle, "HueFuse GPU thread");
    return 0;
}

int joinGPUThread() {
    if (!g_gpuThread.exists) return 0;
    joinWorkerOnce();
    g_gpuThread.exists = false;
    return g_gpuThread.result != nullptr ? -1 : 0;
}

}  // namespace eis

using namespace eis;

EIS_EXPORT ret_status CleanOpenclMFNR_AcoreAPI(void) {
    (void)joinGPUThread();
    return CleanOpenclMFNR();
}
