#include "opencl/opencl_program.h"

#include <cstdlib>

#include "bounded/heap_block.h"
#include "include/acore_types.h"
#include "libCore/core/source/frame/log.h"
#include "opencl/info_buf.h"
#include "opencl/program_file.h"

namespace eis {

namespace {

constexpr int kBadInput = -34;
constexpr int kNoImport = -30;

struct KernelName {
    int index;
    const char* name;
};

// In the order of creation.
constexpr KernelName kKernelNames[] = {
    {kTemporalFilterKernel, "temporalfilter"},
    {1, "imtransform"},
    {2, "fillBlank"},
    {3, "fillBlank_left_right"},
    {4, "fillBlank_top"},
    {5, "fillBlank_bottom"},
    {6, "downsample"},
    {7, "guidedfilter1"},
    {8, "upsample1"},
    {11, "downsample2"},
    {12, "guidedfilter2"},
    {13, "upsample2"},
    {9, "downscaleX4"},
    {10, "calcSobel"},
    {14, "ghostRefine"},
    {15, "ghostCnt"},
    {16, "ghostCnt_part2"},
    {17, "byteToBit"},
    {18, "bitToByte"},
    {19, "erosion_bit_H"},
    {20, "erosion_bit_V"},
    {21, "ghostDetectUV"},
    {22, "erosion_r5_bit_H"},
    {23, "erosion_r5_bit_V"},
    {24, "ghostRefineUV"},
    {25, "erosion_r1_bit_H"},
    {26, "erosion_r1_bit_V"},
    {27, "ghostDetectY"},
    {28, "erosion_r2n_bit_H"},
    {29, "erosion_r2n_bit_V"},
};
static_assert(sizeof kKernelNames / sizeof kKernelNames[0] == kKernelCount);

// The devices of the chosen platform.
struct DeviceList {
    explicit DeviceList(const OpenCLFoundation& foundation)
        : count(foundation.deviceCounts[foundation.platformIndex]),
          devices(foundation.devices[foundation.platformIndex]),
          chosen(devices[foundation.deviceIndices[foundation.platformIndex]]) {}

    cl_uint count;
    const cl_device_id* devices;
    cl_device_id chosen;
};

bool hasDevice(const OpenCLFoundation* foundation) {
    return foundation != nullptr && foundation->platformIndex >= 0;
}

// A file that cannot be read makes a null binary, and the runtime's refusal of it ends the build.
int createFromBinary(OpenCLAlgoContext& context, const DeviceList& list, const char* path) {
    size_t size = 0;
    const HeapBlock<unsigned char[]> binary(ReadProgramBinary(path, &size));
    const HeapBlock<const unsigned char*[]> binaries = zeroedHeapBlock<const unsigned char*>(list.count);
    const HeapBlock<size_t[]> sizes = zeroedHeapBlock<size_t>(list.count);
    if (!binaries || !sizes) return retStsNoMemory;
    for (cl_uint i = 0; i < list.count; ++i) {
        binaries[i] = binary.get();
        sizes[i] = size;
    }
    cl_int status = CL_SUCCESS;
    context.program = clCreateProgramWithBinary(context.foundation->context, list.count, list.devices, sizes.get(),
                                                binaries.get(), nullptr, &status);
    if (status != CL_SUCCESS)
        EIS_LOG_ERROR("[GPU]: clCreateProgramWithBinary fail to create program, status = %d.\n", status);
    return status;
}

int buildFromBinary(OpenCLAlgoContext& context, const DeviceList& list, const char* path) {
    int status = createFromBinary(context, list, path);
    if (status != CL_SUCCESS) return status;
    status = clBuildProgram(context.program, list.count, list.devices, nullptr, nullptr, nullptr);
    if (status != CL_SUCCESS) EIS_LOG_ERROR("[GPU]: clBuildProgram fail to build program, status = %d.\n", status);
    return status;
}

void logBuildFailure(const OpenCLAlgoContext& context, const DeviceList& list, cl_int status) {
    size_t size = 0;
    clGetProgramBuildInfo(context.program, list.chosen, CL_PROGRAM_BUILD_LOG, 0, nullptr, &size);
    const HeapBlock<char[]> text = zeroedHeapBlock<char>(size + 1);
    if (!text) {
        EIS_LOG_ERROR("[GPU]: clBuildProgram fail to build program, status = %d", status);
        return;
    }
    clGetProgramBuildInfo(context.program, list.chosen, CL_PROGRAM_BUILD_LOG, size, text.get(), nullptr);
    EIS_LOG_ERROR("[GPU]: clBuildProgram fail to build program, status = %d. build log:\n%s\n", status, text.get());
}

// A failed creation goes on to the build, which then fails for want of a program.
int buildFromSource(OpenCLAlgoContext& context, const DeviceList& list, const char* path) {
    const HeapBlock<char[]> source(ReadProgramText(path));
    const char* text = source.get();
    cl_int status = CL_SUCCESS;
    context.program = clCreateProgramWithSource(context.foundation->context, 1, &text, nullptr, &status);
    if (status != CL_SUCCESS)
        EIS_LOG_ERROR("[GPU]: clCreateProgramWithSource fail to create program, status = %d.\n", status);
    status = clBuildProgram(context.program, list.count, list.devices, nullptr, nullptr, nullptr);
    if (status != CL_SUCCESS) logBuildFailure(context, list, status);
    return status;
}

int createKernels(OpenCLAlgoContext& context) {
    for (const KernelName& kernel : kKernelNames) {
        cl_int status = CL_SUCCESS;
        context.kernels[kernel.index] = clCreateKernel(context.program, kernel.name, &status);
        if (status == CL_SUCCESS) continue;
        EIS_LOG_ERROR("ERROR: Failed to create %s. status = %d\n", kernel.name, status);
        return status;
    }
    return 0;
}

}  // namespace

int buildProgram(OpenCLAlgoContext* pCtxAlgo, const char* path, int mode) {
    if (pCtxAlgo == nullptr) {
        EIS_LOG_ERROR("[GPU]: buildProgram input pCtxAlgo is NULL.\n");
        return kBadInput;
    }
    // A foundation that found no platform has no device to build for.
    if (!hasDevice(pCtxAlgo->foundation)) {
        EIS_LOG_ERROR("[GPU]: buildProgram OpenCL foundation context is NULL.\n");
        return kBadInput;
    }
    const DeviceList list(*pCtxAlgo->foundation);
    const int status =
        mode == kProgramBinary ? buildFromBinary(*pCtxAlgo, list, path) : buildFromSource(*pCtxAlgo, list, path);
    return status != 0 ? status : createKernels(*pCtxAlgo);
}

int releaseProgram(OpenCLAlgoContext* pCtxAlgo) {
    if (pCtxAlgo == nullptr) {
        EIS_LOG_ERROR("[GPU]: releaseProgram input pCtxAlgo is NULL.\n");
        return kBadInput;
    }
    for (cl_kernel& kernel : pCtxAlgo->kernels) {
        if (kernel != nullptr) clReleaseKernel(kernel);
        kernel = nullptr;
    }
    if (pCtxAlgo->program == nullptr) return 0;
    const cl_int status =
        clGetProgramInfo(pCtxAlgo->program, CL_PROGRAM_REFERENCE_COUNT, sizeof(infoBuf), infoBuf, nullptr);
    if (status != CL_SUCCESS) {
        EIS_LOG_ERROR("Function %s FAILED. status = %d\n",
                      "clGetProgramInfo(pCtxAlgo->program, CL_PROGRAM_REFERENCE_COUNT, sizeof(infoBuf), infoBuf, NULL)",
                      status);
    }
    clReleaseProgram(pCtxAlgo->program);
    pCtxAlgo->program = nullptr;
    return status;
}

int setupOpencl_algo(OpenCLFoundation* handleOpenCLFoundation, const char* path, int mode, OpenCLAlgoContext** out) {
    if (out != nullptr) *out = nullptr;
    if (handleOpenCLFoundation == nullptr) {
        EIS_LOG_ERROR("[GPU]: setupOpencl_algo input handleOpenCLFoundation is NULL.\n");
        return kBadInput;
    }
    if (out == nullptr) return kBadInput;
    HeapBlock<OpenCLAlgoContext[]> context = zeroedHeapBlock<OpenCLAlgoContext>(1);
    if (!context) return kBadInput;
    OpenCLAlgoContext& algo = context[0];
    algo.foundation = handleOpenCLFoundation;
    algo.clImportMemoryARM = reinterpret_cast<ImportMemory>(clGetExtensionFunctionAddress("clImportMemoryARM"));
    if (algo.clImportMemoryARM == nullptr) {
        EIS_LOG_ERROR("[GPU]: Get cl extension functions failed.\n");
        return kNoImport;
    }
    const int status = buildProgram(&algo, path, mode);
    if (status != 0) {
        // The foundation stays with the caller, who releases it once.
        (void)releaseProgram(&algo);
        return status;
    }
    *out = context.release();
    return 0;
}

int cleanOpencl_algo(OpenCLAlgoContext* phandleAlgoOpenCL) {
    if (phandleAlgoOpenCL == nullptr) {
        EIS_LOG_ERROR("[GPU]: cleanOpencl_algo input phandleAlgoOpenCL is NULL.\n");
        return kBadInput;
    }
    if (phandleAlgoOpenCL->foundation == nullptr) {
        EIS_LOG_ERROR("[GPU]: cleanOpencl_algo OpenCL foundation context is NULL.\n");
        return kBadInput;
    }
    // Everything goes, whatever the program's release says: nothing else could release it later.
    const int status = releaseProgram(phandleAlgoOpenCL);
    OpenCLFoundation* foundation = phandleAlgoOpenCL->foundation;
    std::free(phandleAlgoOpenCL);
    cleanOpencl(foundation);
    return status;
}

int allocParamBuffer(OpenCLAlgoContext* pCtxAlgo) {
    if (pCtxAlgo == nullptr) {
        EIS_LOG_ERROR("[GPU]: allocParamBuffer input pCtxAlgo is NULL.\n");
        return kBadInput;
    }
    if (pCtxAlgo->foundation == nullptr) {
        EIS_LOG_ERROR("[GPU]: allocParamBuffer OpenCL foundation context is NULL.\n");
        return kBadInput;
    }
    return 0;
}

int releaseParamBuffer(OpenCLAlgoContext* pCtxAlgo) {
    if (pCtxAlgo == nullptr) {
        EIS_LOG_ERROR("[GPU]: releaseParamBuffer input pCtxAlgo is NULL.\n");
        return kBadInput;
    }
    return 0;
}

}  // namespace eis
