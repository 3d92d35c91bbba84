#include "opencl/opencl_foundation.h"

#include <cstdlib>
#include <cstring>

#include "include/acore_types.h"
#include "libCore/core/source/frame/log.h"
#include "opencl/info_buf.h"

namespace eis {

namespace {

constexpr int kNoFoundation = -4;
constexpr int kNoPlatform = -2;
constexpr int kNoGpu = -1;

template <class T>
T* allocateArray(size_t count) {
    return static_cast<T*>(std::calloc(count, sizeof(T)));
}

int platformIdsFailed(cl_int status, cl_uint count) {
    MFNR_LOG_ERROR("[GPU]: Fail to get platform IDs. (clGetPlatformIDs). status = %d, numPlatforms = %d\n", status,
                   count);
    return status;
}

int deviceIdsFailed(cl_int status, cl_uint count) {
    MFNR_LOG_ERROR("[GPU]: Fail to get device IDs. (clGetDeviceIDs). status = %d, numDevices = %d\n", status, count);
    return status;
}

int listPlatforms(OpenCLFoundation& foundation) {
    cl_uint count = 0;
    cl_int status = clGetPlatformIDs(0, nullptr, &count);
    if (status != CL_SUCCESS || count == 0) return platformIdsFailed(status, count);
    foundation.platforms = allocateArray<cl_platform_id>(count);
    foundation.deviceCounts = allocateArray<uint32_t>(count);
    foundation.deviceIndices = allocateArray<int32_t>(count);
    foundation.devices = allocateArray<cl_device_id*>(count);
    if (foundation.platforms == nullptr || foundation.deviceCounts == nullptr || foundation.deviceIndices == nullptr ||
        foundation.devices == nullptr) {
        return retStsNoMemory;
    }
    foundation.numPlatforms = count;
    status = clGetPlatformIDs(count, foundation.platforms, nullptr);
    return status != CL_SUCCESS ? platformIdsFailed(status, count) : 0;
}

int listDevices(OpenCLFoundation& foundation, uint32_t platform) {
    foundation.deviceIndices[platform] = -1;
    cl_uint count = 0;
    cl_int status = clGetDeviceIDs(foundation.platforms[platform], CL_DEVICE_TYPE_ALL, 0, nullptr, &count);
    if (status != CL_SUCCESS) return deviceIdsFailed(status, count);
    if (count == 0) return 0;
    foundation.devices[platform] = allocateArray<cl_device_id>(count);
    if (foundation.devices[platform] == nullptr) return retStsNoMemory;
    foundation.deviceCounts[platform] = count;
    status = clGetDeviceIDs(foundation.platforms[platform], CL_DEVICE_TYPE_ALL, count, foundation.devices[platform],
                            nullptr);
    return status != CL_SUCCESS ? deviceIdsFailed(status, count) : 0;
}

int choosePlatform(OpenCLFoundation& foundation, const char* vendor) {
    for (uint32_t i = 0; i < foundation.numPlatforms; ++i) {
        const cl_int status =
            clGetPlatformInfo(foundation.platforms[i], CL_PLATFORM_VENDOR, kInfoBufSize, infoBuf, nullptr);
        if (status != CL_SUCCESS) {
            MFNR_LOG_ERROR("[GPU]: Fail to get platform Info. (clGetPlatformInfo). status = %d\n", status);
            return status;
        }
        if (std::strcmp(infoText(), vendor) == 0) {
            foundation.platformIndex = static_cast<int32_t>(i);
            return 0;
        }
    }
    MFNR_LOG_ERROR("[GPU]: There is no %s platform to use. exit.\n", vendor);
    return kNoPlatform;
}

int chooseGpu(OpenCLFoundation& foundation, const char* vendor) {
    const int32_t platform = foundation.platformIndex;
    for (uint32_t i = 0; i < foundation.deviceCounts[platform]; ++i) {
        const cl_int status =
            clGetDeviceInfo(foundation.devices[platform][i], CL_DEVICE_TYPE, kInfoBufSize, infoBuf, nullptr);
        if (status != CL_SUCCESS) {
            MFNR_LOG_ERROR("[GPU]: Fail to get device Info. (clGetDeviceInfo). status = %d\n", status);
            return status;
        }
        if (infoValue<cl_device_type>() == CL_DEVICE_TYPE_GPU) {
            foundation.deviceIndices[platform] = static_cast<int32_t>(i);
            return 0;
        }
    }
    MFNR_LOG_ERROR("[GPU]: There is no %s GPU to use. exit.\n", vendor);
    return kNoGpu;
}

int createContextAndQueue(OpenCLFoundation& foundation) {
    const int32_t platform = foundation.platformIndex;
    const cl_device_id* devices = foundation.devices[platform];
    cl_int status = CL_SUCCESS;
    foundation.context =
        clCreateContext(nullptr, foundation.deviceCounts[platform], devices, nullptr, nullptr, &status);
    if (foundation.context == nullptr || status != CL_SUCCESS) {
        MFNR_LOG_ERROR("Error: Fail to create CL context. status = %d\n", status);
        return status;
    }
    foundation.cmdQueueGPU =
        clCreateCommandQueue(foundation.context, devices[foundation.deviceIndices[platform]], 0, &status);
    if (foundation.cmdQueueGPU == nullptr || status != CL_SUCCESS) {
        MFNR_LOG_ERROR("Error: Fail to create CL cmdQueueGPU. status = %d\n", status);
    }
    return status;
}

int discover(OpenCLFoundation& foundation, const char* vendor) {
    foundation.platformIndex = -1;
    int status = listPlatforms(foundation);
    if (status != 0 || foundation.numPlatforms == 0) return status;
    for (uint32_t i = 0; i < foundation.numPlatforms && status == 0; ++i) status = listDevices(foundation, i);
    if (status == 0) status = choosePlatform(foundation, vendor);
    if (status == 0) status = chooseGpu(foundation, vendor);
    if (status == 0) status = createContextAndQueue(foundation);
    return status;
}

}  // namespace

int setupOpencl(OpenCLFoundation** out, const char* vendor) {
    *out = nullptr;
    auto* foundation = allocateArray<OpenCLFoundation>(1);
    if (foundation == nullptr) {
        MFNR_LOG_ERROR("[GPU]: setupOpencl FAIL to allocate OpenCL Foundation context.\n");
        return kNoFoundation;
    }
    const int status = discover(*foundation, vendor);
    if (status != 0) {
        cleanOpencl(foundation);
        return status;
    }
    *out = foundation;
    return 0;
}

int cleanOpencl(OpenCLFoundation* handle) {
    if (handle == nullptr) {
        MFNR_LOG_INFO("[GPU]: WARNING: cleanOpencl input handle is NULL.\n");
        return 0;
    }
    if (handle->cmdQueueGPU != nullptr) {
        clGetCommandQueueInfo(handle->cmdQueueGPU, CL_QUEUE_REFERENCE_COUNT, kInfoBufSize, infoBuf, nullptr);
        MFNR_LOG_INFO("[GPU]: cmd Queue ref count before release it : %d\n", infoValue<int32_t>());
        clReleaseCommandQueue(handle->cmdQueueGPU);
    }
    if (handle->context != nullptr) {
        clGetContextInfo(handle->context, CL_CONTEXT_REFERENCE_COUNT, kInfoBufSize, infoBuf, nullptr);
        MFNR_LOG_INFO("[GPU]: Context ref count before release it : %d\n", infoValue<int32_t>());
        clReleaseContext(handle->context);
    }
    for (uint32_t i = 0; i < handle->numPlatforms; ++i) std::free(handle->devices[i]);
    std::free(static_cast<void*>(handle->devices));
    std::free(handle->deviceIndices);
    std::free(handle->deviceCounts);
    std::free(static_cast<void*>(handle->platforms));
    std::free(handle);
    return 0;
}

}  // namespace eis
