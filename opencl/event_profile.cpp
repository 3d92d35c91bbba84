#include "opencl/event_profile.h"

#include "libCore/core/source/frame/export.h"
#include "libCore/core/source/frame/log.h"
#include "opencl/info_buf.h"

namespace eis {

namespace {

struct Stage {
    cl_profiling_info info;
    const char* name;
};
constexpr Stage kStages[] = {{CL_PROFILING_COMMAND_QUEUED, "CL_PROFILING_COMMAND_QUEUED"},
                             {CL_PROFILING_COMMAND_SUBMIT, "CL_PROFILING_COMMAND_SUBMIT"},
                             {CL_PROFILING_COMMAND_START, "CL_PROFILING_COMMAND_START"},
                             {CL_PROFILING_COMMAND_END, "CL_PROFILING_COMMAND_END"}};

void logTimes(cl_event event) {
    long long times[4];
    for (int i = 0; i < 4; ++i) {
        const cl_int status = clGetEventProfilingInfo(event, kStages[i].info, kInfoBufSize, infoBuf, nullptr);
        if (status != CL_SUCCESS) {
            MFNR_LOG_ERROR("Error: Fail to get profiling data %s (clGetEventProfilingInfo return error code %d)\n",
                           kStages[i].name, status);
            return;
        }
        times[i] = static_cast<long long>(infoValue<cl_ulong>());
    }
    MFNR_LOG_INFO("Time used for transferring commands to device: %lldns\n", times[1] - times[0]);
    MFNR_LOG_INFO("Time used on device for waiting commands to run: %lldns\n", times[2] - times[1]);
    MFNR_LOG_INFO("Time used on device for executing commands: %lldns\n=====/\n", times[3] - times[2]);
}

}  // namespace

EIS_KEEP void ReportEventProfile(cl_event event, const char* title) {
    MFNR_LOG_INFO("/=====\nTune system performance: %s\n", title);
    const cl_int status = clWaitForEvents(1, &event);
    if (status != CL_SUCCESS) {
        MFNR_LOG_ERROR("Error: Fail to wait event to finish (clWaitForEvents return error code %d)\n", status);
    } else {
        MFNR_LOG_INFO("Event finish.\n");
        logTimes(event);
    }
    clReleaseEvent(event);
}

}  // namespace eis
