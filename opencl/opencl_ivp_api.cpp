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
constexpr TraceSite kSetUpSite{kUnit, "ret_status SetUpOpenclMFNR(void*)"};
constexpr TraceSite kCleanSite{kUnit, "ret_status CleanOpenclMFNR()"};
constexpr TraceSite kCleanEntrySite{kUnit, "ret_status CleanOpenclMFNR_AcoreAPI()"};
constexpr char kVendor[] = "ARM";
constexpr char kArchitectureKey[] = "/proc/device-tree/orvi,gpu_arch";
constexpr char kProgramPath[] = "/system/etc/camera/libcl/mfnr.cl";
constexpr char kProgramPathV2[] = "/system/etc/camera/libcl/mfnr_v2.cl";

// Releases the live context; false, with a log line, when its release reports a failure. The handle is null afterwards.
bool releaseContext(const TraceSite& site, int line = __builtin_LINE()) {
    OpenCLAlgoContext* context = std::exchange(g_handleAlgoOpenCL, nullptr);
    const bool released = cleanOpencl_algo(context) == 0;
    // The context is gone either way.
    traceRelease(kTraceTag, site.unit, site.signature, line, kTraceMemory, 0, context, size_t{0});
    if (!released) EIS_LOG_ERROR("[GPU]: CleanOpenclMFNR failed!");
    return released;
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

void joinWorkerOnce(const TraceSite& site, int line = __builtin_LINE()) {
    if (g_gpuThread.joined) return;
    joinTracedThread(g_gpuThread.handle, site, line, &g_gpuThread.result);
    g_gpuThread.joined = true;
}

}  // namespace

OpenCLAlgoContext* GetHandleAlgoOpenCL() {
    return g_handleAlgoOpenCL;
}

EIS_KEEP ret_status SetUpOpenclMFNR(void* /*unused*/) {
    if (g_handleAlgoOpenCL != nullptr) (void)releaseContext(kSetUpSite);
    const char* program = chooseProgram();
    OpenCLFoundation* foundation = nullptr;
    if (setupOpencl(&foundation, kVendor) != 0) return retStsThreadError;
    char path[256];
    (void)sprintf_s(path, sizeof path, "%s", program);
    if (setupOpencl_algo(foundation, path, kProgramBinary, &g_handleAlgoOpenCL) != 0) {
        cleanOpencl(foundation);
        return retStsThreadError;
    }
    traceAcquire(kTraceTag, kSetUpSite.unit, kSetUpSite.signature, __LINE__, kTraceMemory, 0, g_handleAlgoOpenCL,
                 sizeof(OpenCLAlgoContext));
    return retStsOK;
}

ret_status CleanOpenclMFNR() {
    if (g_handleAlgoOpenCL == nullptr) return retStsOK;
    return releaseContext(kCleanSite) ? retStsOK : retStsThreadError;
}

EIS_KEEP int createGPUThread(void* (*routine)(void*), void* param, int size) {
    if (g_gpuThread.exists) {
        joinWorkerOnce(kCreateSite);
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

EIS_KEEP int joinGPUThread() {
    if (!g_gpuThread.exists) return 0;
    joinWorkerOnce(kJoinSite);
    g_gpuThread.exists = false;
    return g_gpuThread.result != nullptr ? -1 : 0;
}

}  // namespace eis

using namespace eis;

EIS_EXPORT ret_status CleanOpenclMFNR_AcoreAPI(void) {
    if (g_gpuThread.exists) joinWorkerOnce(kCleanEntrySite);
    g_gpuThread.exists = false;
    return CleanOpenclMFNR();
}
