#include "platform/opencl_layer/opencl_test_layer.h"

#define CL_TARGET_OPENCL_VERSION 120
#include <CL/cl.h>
#include <CL/cl_layer.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <tuple>

#define LAYER_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

constexpr cl_int kInjectedStatus = CL_OUT_OF_RESOURCES;
constexpr int kHandles = 16;

const cl_icd_dispatch* g_target = nullptr;
cl_icd_dispatch g_dispatch;
EisLayerSettings g_settings{};
std::atomic<int> g_calls{0};
std::atomic<int> g_live{0};
void* g_handles[kHandles];

// The platform that can be put ahead of the real ones, and its device. Only their addresses matter.
int g_extraPlatform;
int g_extraDevice;

cl_platform_id extraPlatform() {
    return reinterpret_cast<cl_platform_id>(&g_extraPlatform);
}

bool failsNow() {
    return ++g_calls == g_settings.failCall;
}

cl_int answer(const void* value, size_t size, size_t room, void* out, size_t* outSize) {
    if (outSize != nullptr) *outSize = size;
    if (out == nullptr) return CL_SUCCESS;
    if (room < size) return CL_INVALID_VALUE;
    std::memcpy(out, value, size);
    return CL_SUCCESS;
}

cl_int CL_API_CALL getPlatformIds(cl_uint entries, cl_platform_id* platforms, cl_uint* count) {
    if (failsNow()) return kInjectedStatus;
    if (g_settings.noPlatforms != 0) {
        if (count != nullptr) *count = 0;
        return CL_SUCCESS;
    }
    const cl_uint extra = g_settings.extraVendor != nullptr ? 1 : 0;
    cl_uint real = 0;
    const cl_int status =
        g_target->clGetPlatformIDs(entries > extra ? entries - extra : 0,
                                   platforms != nullptr && entries > extra ? platforms + extra : nullptr, &real);
    if (extra != 0 && platforms != nullptr && entries > 0) platforms[0] = extraPlatform();
    if (count != nullptr) *count = real + extra;
    return status;
}

cl_int CL_API_CALL getPlatformInfo(cl_platform_id platform, cl_platform_info name, size_t room, void* out,
                                   size_t* outSize) {
    if (failsNow()) return kInjectedStatus;
    if (platform == extraPlatform()) {
        return answer(g_settings.extraVendor, std::strlen(g_settings.extraVendor) + 1, room, out, outSize);
    }
    if (name != CL_PLATFORM_VENDOR) return g_target->clGetPlatformInfo(platform, name, room, out, outSize);
    const char* vendor = g_settings.vendor != nullptr ? g_settings.vendor : "ARM";
    return answer(vendor, std::strlen(vendor) + 1, room, out, outSize);
}

cl_int CL_API_CALL getDeviceIds(cl_platform_id platform, cl_device_type type, cl_uint entries, cl_device_id* devices,
                                cl_uint* count) {
    if (failsNow()) return kInjectedStatus;
    if (platform != extraPlatform()) return g_target->clGetDeviceIDs(platform, type, entries, devices, count);
    if (devices != nullptr && entries > 0) devices[0] = reinterpret_cast<cl_device_id>(&g_extraDevice);
    if (count != nullptr) *count = 1;
    return CL_SUCCESS;
}

cl_int CL_API_CALL getDeviceInfo(cl_device_id device, cl_device_info name, size_t room, void* out, size_t* outSize) {
    if (failsNow()) return kInjectedStatus;
    if (name != CL_DEVICE_TYPE || g_settings.realDeviceType != 0) {
        return g_target->clGetDeviceInfo(device, name, room, out, outSize);
    }
    const cl_device_type type = CL_DEVICE_TYPE_GPU;
    return answer(&type, sizeof type, room, out, outSize);
}

cl_mem CL_API_CALL importMemory(cl_context context, cl_mem_flags flags, const intptr_t* properties, void* memory,
                                size_t size, cl_int* status) {
    const bool dmaBuf =
        properties != nullptr && properties[0] == 0x40B2 && properties[1] == 0x40B4 && properties[2] == 0;
    int handle = -1;
    std::memcpy(&handle, memory, sizeof handle);
    if (failsNow() || !dmaBuf || handle < 0 || handle >= kHandles || g_handles[handle] == nullptr) {
        *status = kInjectedStatus;
        return nullptr;
    }
    cl_mem buffer = g_target->clCreateBuffer(context, flags | CL_MEM_USE_HOST_PTR, size, g_handles[handle], status);
    if (buffer != nullptr) ++g_live;
    return buffer;
}

void* CL_API_CALL getExtensionFunctionAddress(const char* name) {
    if (failsNow()) return nullptr;
    if (std::strcmp(name, "clImportMemoryARM") != 0) return g_target->clGetExtensionFunctionAddress(name);
    return g_settings.hideImport != 0 ? nullptr : reinterpret_cast<void*>(importMemory);
}

// The three shapes of the functions that are only counted and made to fail: one that gives a status, one that makes an
// object and leaves its status in the last argument, and one that releases an object. A release that reports a failure
// has released all the same.
template <auto member, class Function>
struct Wrap;

template <auto member, class... Args>
struct Wrap<member, cl_int(CL_API_CALL*)(Args...)> {
    static cl_int CL_API_CALL status(Args... args) {
        return failsNow() ? kInjectedStatus : (g_target->*member)(args...);
    }
    static cl_int CL_API_CALL release(Args... args) {
        const bool fails = failsNow();
        const cl_int status = (g_target->*member)(args...);
        if (status == CL_SUCCESS) --g_live;
        return fails ? kInjectedStatus : status;
    }
};

template <auto member, class Object, class... Args>
struct Wrap<member, Object*(CL_API_CALL*)(Args...)> {
    static Object* CL_API_CALL create(Args... args) {
        cl_int* status = std::get<sizeof...(Args) - 1>(std::forward_as_tuple(args...));
        if (failsNow()) {
            if (status != nullptr) *status = kInjectedStatus;
            return nullptr;
        }
        Object* object = (g_target->*member)(args...);
        if (object != nullptr) ++g_live;
        return object;
    }
};

#define WRAP(name, shape) g_dispatch.name = Wrap<&cl_icd_dispatch::name, decltype(g_dispatch.name)>::shape

void wrapAll() {
    g_dispatch.clGetPlatformIDs = getPlatformIds;
    g_dispatch.clGetPlatformInfo = getPlatformInfo;
    g_dispatch.clGetDeviceIDs = getDeviceIds;
    g_dispatch.clGetDeviceInfo = getDeviceInfo;
    g_dispatch.clGetExtensionFunctionAddress = getExtensionFunctionAddress;
    WRAP(clCreateContext, create);
    WRAP(clReleaseContext, release);
    WRAP(clGetContextInfo, status);
    WRAP(clCreateCommandQueue, create);
    WRAP(clReleaseCommandQueue, release);
    WRAP(clGetCommandQueueInfo, status);
    WRAP(clCreateProgramWithBinary, create);
    WRAP(clCreateProgramWithSource, create);
    WRAP(clBuildProgram, status);
    WRAP(clGetProgramBuildInfo, status);
    WRAP(clGetProgramInfo, status);
    WRAP(clReleaseProgram, release);
    WRAP(clCreateKernel, create);
    WRAP(clSetKernelArg, status);
    WRAP(clReleaseKernel, release);
    WRAP(clCreateBuffer, create);
    WRAP(clReleaseMemObject, release);
    WRAP(clEnqueueNDRangeKernel, status);
    WRAP(clFinish, status);
    WRAP(clEnqueueMapBuffer, create);
    WRAP(clEnqueueUnmapMemObject, release);
    WRAP(clWaitForEvents, status);
    WRAP(clGetEventProfilingInfo, status);
}

}  // namespace

LAYER_EXPORT void eisLayerReset(const EisLayerSettings* settings) {
    g_settings = settings != nullptr ? *settings : EisLayerSettings{};
    g_calls = 0;
}

LAYER_EXPORT int eisLayerCalls(void) {
    return g_calls;
}

LAYER_EXPORT int eisLayerLive(void) {
    return g_live;
}

LAYER_EXPORT void eisLayerSetHandle(int handle, void* memory) {
    if (handle >= 0 && handle < kHandles) g_handles[handle] = memory;
}

LAYER_EXPORT CL_API_ENTRY cl_int CL_API_CALL clGetLayerInfo(cl_layer_info name, size_t room, void* out,
                                                            size_t* outSize) {
    if (name == CL_LAYER_API_VERSION) {
        const cl_layer_api_version version = CL_LAYER_API_VERSION_100;
        return answer(&version, sizeof version, room, out, outSize);
    }
    constexpr char kName[] = "test layer";
    return name == CL_LAYER_NAME ? answer(kName, sizeof kName, room, out, outSize) : CL_INVALID_VALUE;
}

LAYER_EXPORT CL_API_ENTRY cl_int CL_API_CALL clInitLayer(cl_uint entries, const cl_icd_dispatch* target,
                                                         cl_uint* layerEntries, const cl_icd_dispatch** layer) {
    constexpr cl_uint kEntries = sizeof g_dispatch / sizeof g_dispatch.clGetPlatformIDs;
    if (target == nullptr || layerEntries == nullptr || layer == nullptr) return CL_INVALID_VALUE;
    g_target = target;
    std::memcpy(&g_dispatch, target, std::min(entries, kEntries) * sizeof g_dispatch.clGetPlatformIDs);
    wrapAll();
    *layerEntries = kEntries;
    *layer = &g_dispatch;
    return CL_SUCCESS;
}
