#include "platform/opencl_layer/opencl_test_layer.h"

#define CL_TARGET_OPENCL_VERSION 120
#include <CL/cl.h>
#include <CL/cl_layer.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cstring>
#include <map>
#include <string>
#include <tuple>
#include <type_traits>

#define LAYER_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

constexpr cl_int kInjectedStatus = CL_OUT_OF_RESOURCES;

const cl_icd_dispatch* g_target = nullptr;
cl_icd_dispatch g_dispatch;
EisLayerSettings g_settings{};
std::atomic<int> g_calls{0};
std::atomic<int> g_live{0};
// What can be put ahead of the real ones. Only the addresses matter.
int g_extra[2];
const cl_platform_id kExtraPlatform = reinterpret_cast<cl_platform_id>(&g_extra[0]);
const cl_device_id kExtraDevice = reinterpret_cast<cl_device_id>(&g_extra[1]);

// The memory of handles, and the names of platforms, devices and live objects. Never destroyed: objects may outlive
// main.
std::map<int, void*>& g_handles = *new std::map<int, void*>;
std::map<const void*, std::string>& g_names =
    *new std::map<const void*, std::string>{{kExtraPlatform, "platform0"}, {kExtraDevice, "device0"}};

// What a function makes, with the smallest number that no live object has: clCreateContext makes "Context0".
std::string freshName(const char* function) {
    const std::string kind = std::find_if(function + 3, function + std::strlen(function), isupper);
    for (int number = 0;; ++number) {
        std::string name = kind + std::to_string(number);
        if (std::none_of(g_names.begin(), g_names.end(), [&](const auto& entry) { return entry.second == name; })) {
            return name;
        }
    }
}

std::string nameOf(size_t size) {
    return std::to_string(size);
}
template <class T>
std::string nameOf(T* address) {
    const auto found = g_names.find(reinterpret_cast<const void*>(address));
    return found != g_names.end() ? found->second : "ptr";
}

// One argument for the observer. `number` is the last number before it, which counts a list and sizes a value.
template <class T>
std::string describe(const T& argument, size_t& number) {
    if constexpr (std::is_integral_v<T>) {
        number = static_cast<size_t>(argument);
        return std::to_string(argument);
    } else if (argument == nullptr) {
        return "null";
    } else if constexpr (std::is_same_v<T, const char*>) {
        return std::string(1, '"').append(argument).append(1, '"');
    } else if constexpr (std::is_same_v<T, const cl_device_id*> || std::is_same_v<T, const size_t*>) {
        std::string items;
        for (size_t i = 0; i < number; ++i) items.append(i > 0 ? "," : "").append(nameOf(argument[i]));
        return items;
    } else if constexpr (std::is_same_v<T, const void*>) {
        return number == sizeof(void*) ? nameOf(*static_cast<const void* const*>(argument))
                                       : std::to_string(*static_cast<const cl_int*>(argument));
    } else {
        return nameOf(argument);
    }
}

// Tells and counts a call; true when it is to fail.
template <class... Args>
bool fails(const char* function, const Args&... args) {
    if (g_settings.observer != nullptr) {
        std::string call = function;
        size_t number = 0;
        (call.append(" ").append(describe(args, number)), ...);
        g_settings.observer(call.c_str());
    }
    return ++g_calls == g_settings.failCall;
}

// The shapes of the functions that are only told, counted and made to fail: one that gives a status, one that makes an
// object and leaves its status in the last argument, and one that releases an object. A release that reports a failure
// has released all the same.
template <class Target, class... Args>
cl_int status(const char* function, Target target, Args... args) {
    return fails(function, args...) ? kInjectedStatus : target(args...);
}

template <class Target, class... Args>
auto create(const char* function, Target target, Args... args) -> decltype(target(args...)) {
    using Object = decltype(target(args...));
    cl_int* outcome = std::get<sizeof...(Args) - 1>(std::tie(args...));
    const bool failing = fails(function, args...);
    Object object = failing && !g_settings.failKeepsObject ? nullptr : target(args...);
    if (failing && outcome != nullptr) *outcome = kInjectedStatus;
    if (object == nullptr) return nullptr;
    ++g_live;
    if constexpr (std::is_same_v<Object, cl_kernel>) {
        g_names[object] = std::get<1>(std::tie(args...));
    } else {
        g_names[object] = freshName(function);
    }
    return object;
}

template <class Target, class... Args>
cl_int release(const char* function, Target target, Args... args) {
    const bool failing = fails(function, args...);
    const cl_int outcome = target(args...);
    // An unmapping names its mapping behind the queue and the buffer.
    constexpr size_t kObject = sizeof...(Args) > 1 ? 2 : 0;
    if (outcome == CL_SUCCESS) {
        --g_live;
        g_names.erase(std::get<kObject>(std::tie(args...)));
    }
    return failing ? kInjectedStatus : outcome;
}

cl_int answer(const void* value, size_t size, size_t room, void* out, size_t* outSize) {
    if (outSize != nullptr) *outSize = size;
    if (out != nullptr && room >= size) std::memcpy(out, value, size);
    return out != nullptr && room < size ? CL_INVALID_VALUE : CL_SUCCESS;
}

// The list of what is there, or of the first that is there, behind an extra one. `query` lists the real ones.
template <class Id, class Query>
cl_int list(Id extra, const char* kind, cl_uint entries, Id* ids, cl_uint* count, Query query) {
    const bool showsExtra = g_settings.extraVendor != nullptr;
    const cl_uint ahead = showsExtra ? 1 : 0;
    cl_uint real = 0;
    const cl_uint room = entries > ahead ? entries - ahead : 0;
    const cl_int outcome = query(room, ids != nullptr && room > 0 ? ids + ahead : nullptr, &real);
    if (showsExtra) real = std::min(real, cl_uint{1});
    if (count != nullptr) *count = real + ahead;
    if (ids == nullptr || outcome != CL_SUCCESS) return outcome;
    if (showsExtra && entries > 0) ids[0] = extra;
    for (cl_uint i = ahead; i < std::min(entries, real + ahead); ++i) g_names[ids[i]] = kind + std::to_string(i);
    return outcome;
}

cl_int getPlatformIds(cl_uint entries, cl_platform_id* platforms, cl_uint* count) {
    return list(kExtraPlatform, "platform", entries, platforms, count,
                [](auto... args) { return g_settings.noPlatforms ? CL_SUCCESS : g_target->clGetPlatformIDs(args...); });
}

cl_int getPlatformInfo(cl_platform_id platform, cl_platform_info name, size_t room, void* out, size_t* outSize) {
    const bool isExtra = platform == kExtraPlatform;
    if (!isExtra && name != CL_PLATFORM_VENDOR) return g_target->clGetPlatformInfo(platform, name, room, out, outSize);
    const char* vendor = isExtra ? g_settings.extraVendor : g_settings.vendor;
    return answer(vendor, std::strlen(vendor) + 1, room, out, outSize);
}

cl_int getDeviceIds(cl_platform_id platform, cl_device_type type, cl_uint entries, cl_device_id* devices,
                    cl_uint* count) {
    return list(kExtraDevice, "device", entries, devices, count, [=](auto... args) {
        return platform == kExtraPlatform ? CL_SUCCESS : g_target->clGetDeviceIDs(platform, type, args...);
    });
}

cl_int getDeviceInfo(cl_device_id device, cl_device_info name, size_t room, void* out, size_t* outSize) {
    if (device != kExtraDevice && (name != CL_DEVICE_TYPE || g_settings.realDeviceType)) {
        return g_target->clGetDeviceInfo(device, name, room, out, outSize);
    }
    const cl_device_type type = CL_DEVICE_TYPE_GPU | (device == kExtraDevice ? CL_DEVICE_TYPE_DEFAULT : 0);
    return answer(&type, sizeof type, room, out, outSize);
}

cl_mem CL_API_CALL importMemory(cl_context context, cl_mem_flags flags, const intptr_t* properties, void* memory,
                                size_t size, cl_int* outcome) {
    int handle = -1;
    std::memcpy(&handle, memory, sizeof handle);
    const auto wrap = [=](auto...) {
        return g_target->clCreateBuffer(context, flags | CL_MEM_USE_HOST_PTR, size, g_handles[handle], outcome);
    };
    return create("clImportMemoryARM", wrap, context, flags, properties[0], properties[1], properties[2], handle, size,
                  outcome);
}

void* CL_API_CALL getExtensionFunctionAddress(const char* name) {
    if (fails("clGetExtensionFunctionAddress", name)) return nullptr;
    if (std::strcmp(name, "clImportMemoryARM") != 0) return g_target->clGetExtensionFunctionAddress(name);
    return reinterpret_cast<void*>(importMemory);
}

// Every command was queued, submitted, started and ended at the same times, in nanoseconds.
cl_int getEventProfilingInfo(cl_event /*event*/, cl_profiling_info name, size_t room, void* out, size_t* outSize) {
    constexpr cl_ulong kTimes[] = {1000, 1020, 1320, 5320};
    return answer(&kTimes[name - CL_PROFILING_COMMAND_QUEUED], sizeof kTimes[0], room, out, outSize);
}

// Leaves out the device that is no real one, which stands first in a list.
template <auto member>
constexpr auto withRealDevices = [](auto owner, cl_uint count, const cl_device_id* devices, auto... rest) {
    const cl_uint ahead = count > 0 && devices[0] == kExtraDevice ? 1 : 0;
    return (g_target->*member)(owner, count - ahead, devices + ahead, rest...);
};

#define WRAP_AS(name, shape, target) g_dispatch.name = [](auto... args) { return shape(#name, target, args...); };
#define STATUS(name) WRAP_AS(name, status, g_target->name)
#define CREATE(name) WRAP_AS(name, create, g_target->name)
#define RELEASE(name) WRAP_AS(name, release, g_target->name)
#define DEVICES(name, shape) WRAP_AS(name, shape, withRealDevices<&cl_icd_dispatch::name>)

void wrapAll() {
    g_dispatch.clGetExtensionFunctionAddress = getExtensionFunctionAddress;
    // clang-format off
    WRAP_AS(clGetPlatformIDs, status, getPlatformIds) WRAP_AS(clGetPlatformInfo, status, getPlatformInfo)
    WRAP_AS(clGetDeviceIDs, status, getDeviceIds) WRAP_AS(clGetDeviceInfo, status, getDeviceInfo)
    WRAP_AS(clGetEventProfilingInfo, status, getEventProfilingInfo)
    DEVICES(clCreateContext, create) DEVICES(clCreateProgramWithBinary, create) DEVICES(clBuildProgram, status)
    CREATE(clCreateCommandQueue) CREATE(clCreateProgramWithSource) CREATE(clCreateKernel) CREATE(clCreateBuffer)
    CREATE(clEnqueueMapBuffer) CREATE(clCreateUserEvent)
    STATUS(clGetContextInfo) STATUS(clGetCommandQueueInfo) STATUS(clGetProgramBuildInfo) STATUS(clGetProgramInfo)
    STATUS(clSetKernelArg) STATUS(clEnqueueNDRangeKernel) STATUS(clFinish) STATUS(clWaitForEvents)
    RELEASE(clReleaseContext) RELEASE(clReleaseCommandQueue) RELEASE(clReleaseProgram) RELEASE(clReleaseKernel)
    RELEASE(clReleaseMemObject) RELEASE(clEnqueueUnmapMemObject) RELEASE(clReleaseEvent)
    // clang-format on
}

}  // namespace

LAYER_EXPORT void eisLayerReset(const EisLayerSettings& settings) {
    g_settings = settings;
    g_calls = 0;
}

LAYER_EXPORT int eisLayerLive() {
    return g_live;
}

LAYER_EXPORT void eisLayerSetHandle(int handle, void* memory) {
    g_handles[handle] = memory;
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
