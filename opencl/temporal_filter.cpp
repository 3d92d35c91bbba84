#include "opencl/temporal_filter.h"

#include "bounded/bounded_memory.h"
#include "libCore/core/source/frame/clock.h"
#include "libCore/core/source/frame/export.h"
#include "libCore/core/source/frame/log.h"
#include "libCore/core/source/frame/slots.h"
#include "libCore/core/source/frame/wire.h"
#include "opencl/opencl_ivp_api.h"
#include "opencl/opencl_program.h"

namespace eis {

namespace {

constexpr int kNoContext = -30;
constexpr int kPlanes = 4;
constexpr int kSrc1 = 0;
constexpr int kSrc2 = 1;
constexpr int kMask = 2;
constexpr int kOut = 3;
constexpr uint32_t kItemColumns = 16;
constexpr uint32_t kItemRows = 2;

// cl_arm_import_memory: the memory's type is a dma-buf handle.
constexpr intptr_t kImportDmaBuf[] = {0x40B2, 0x40B4, 0};

struct Plane {
    uint8_t* memory;
    size_t size;
    const void* addressWordEnd;  // import mode: right behind the device address of the allocation
    cl_mem_flags copyFlags;
    bool copiedIn;
};

// Buffers of the four planes, released together.
struct Buffers {
    Buffers() = default;
    Buffers(const Buffers&) = delete;
    Buffers& operator=(const Buffers&) = delete;
    ~Buffers() {
        for (cl_mem memory : mem) {
            if (memory != nullptr) clReleaseMemObject(memory);
        }
    }

    cl_mem mem[kPlanes] = {};
    int32_t shift[kPlanes] = {};  // of a plane in its buffer
};

size_t planeBytes(int64_t rowBytes, int32_t height) {
    return static_cast<size_t>(rowBytes * height);
}

// Statuses of creation are not examined here: a missing buffer is found when the arguments are set.
void createCopies(cl_context context, const Plane (&planes)[kPlanes], Buffers& buffers) {
    for (int i = 0; i < kPlanes; ++i) {
        cl_int status = CL_SUCCESS;
        buffers.mem[i] = clCreateBuffer(context, planes[i].copyFlags, planes[i].size,
                                        planes[i].copiedIn ? planes[i].memory : nullptr, &status);
    }
}

// A buffer object is an array of functions; the fourth one gives the handle of its memory.
int memoryHandle(void* object) {
    using GetHandle = int (*)(void*);
    return reinterpret_cast<GetHandle*>(object)[3](object);
}

int importPlanes(const OpenCLAlgoContext& algo, const MemAllocatorTable& table, const Plane (&planes)[kPlanes],
                 Buffers& buffers) {
    uint8_t* base[kPlanes];
    for (int i = 0; i < kPlanes; ++i) {
        const auto* word = static_cast<const uint8_t*>(planes[i].addressWordEnd) - sizeof(DeviceAddress);
        base[i] = convertTo<uint8_t>(loadUnaligned<DeviceAddress>(word));
        buffers.shift[i] =
            static_cast<int32_t>(reinterpret_cast<intptr_t>(planes[i].memory) - reinterpret_cast<intptr_t>(base[i]));
    }
    EIS_LOG_INFO("memShift1=%d, memShift2=%d", buffers.shift[kSrc2], buffers.shift[kMask]);
    EIS_LOG_INFO("pSrc2_org=%p, pMask_org=%p", static_cast<void*>(base[kSrc2]), static_cast<void*>(base[kMask]));
    for (int i = 0; i < kPlanes; ++i) {
        void* object = table.lookup(base[i]);
        if (object == nullptr) return kNoContext;
        int handle = memoryHandle(object);
        cl_int status = CL_SUCCESS;
        buffers.mem[i] = algo.clImportMemoryARM(algo.foundation->context, CL_MEM_READ_WRITE, kImportDmaBuf, &handle,
                                                static_cast<size_t>(buffers.shift[i]) + planes[i].size, &status);
        if (status != CL_SUCCESS) return status;
    }
    return 0;
}

cl_int setArguments(cl_kernel kernel, const ST_TEMPORALFILTER_PARAMS& params, const Buffers& buffers) {
    cl_int status = CL_SUCCESS;
    cl_uint index = 0;
    const auto set = [&](const auto& value) { status |= clSetKernelArg(kernel, index++, sizeof value, &value); };
    for (const cl_mem& memory : buffers.mem) {
        // A runtime would take a null memory object, and the kernel run into it.
        if (memory == nullptr) {
            status |= CL_INVALID_MEM_OBJECT;
            ++index;
        } else {
            set(memory);
        }
    }
    set(params.alpha);
    set(params.stride);
    set(params.strideUV);
    set(params.width);
    set(params.height);
    for (const int32_t& shift : buffers.shift) set(shift);
    if (status != CL_SUCCESS) {
        EIS_LOG_ERROR("[GPU]: Failed to set kernel_temporalfilter kernel arguments, status = %d\n", status);
    }
    return status;
}

cl_int runKernel(cl_command_queue queue, cl_kernel kernel, const ST_TEMPORALFILTER_PARAMS& params) {
    const size_t global[2] = {static_cast<size_t>(params.width / static_cast<int32_t>(kItemColumns)),
                              static_cast<size_t>(params.height / static_cast<int32_t>(kItemRows))};
    const int64_t start = clockMicroseconds();
    cl_int status = clEnqueueNDRangeKernel(queue, kernel, 2, nullptr, global, nullptr, 0, nullptr, nullptr);
    if (status != CL_SUCCESS) {
        EIS_LOG_ERROR("[GPU]: Failed to enqueue kernel_temporalfilter. status = %d\n", status);
        return status;
    }
    // Its status is not looked at: the steps that follow on the queue decide.
    clFinish(queue);
    EIS_LOG_INFO("[GPU]: kernel_temporalfilter use:%ld us", static_cast<long>(clockMicroseconds() - start));
    return CL_SUCCESS;
}

// The first failing status. A failure skips only what needs the step that failed; an address that comes with an error
// is unmapped, but not read.
cl_int copyBack(cl_command_queue queue, cl_mem buffer, int32_t shift, const Plane& plane) {
    cl_int status = CL_SUCCESS;
    const auto note = [&](cl_int result) {
        if (status == CL_SUCCESS) status = result;
    };
    void* mapped = clEnqueueMapBuffer(queue, buffer, CL_TRUE, CL_MAP_READ, 0, plane.size, 0, nullptr, nullptr, &status);
    if (mapped == nullptr) note(CL_MAP_FAILURE);
    note(clFinish(queue));
    if (status == CL_SUCCESS) {
        (void)memcpy_s(plane.memory, plane.size, static_cast<const uint8_t*>(mapped) + shift, plane.size);
    }
    if (mapped != nullptr) note(clEnqueueUnmapMemObject(queue, buffer, mapped, 0, nullptr, nullptr));
    note(clFinish(queue));
    return status;
}

}  // namespace

EIS_KEEP int kernel_temporalfilter(ST_TEMPORALFILTER_PARAMS* params) {
    const OpenCLAlgoContext* algo = GetHandleAlgoOpenCL();
    if (algo == nullptr) return kNoContext;
    EIS_LOG_INFO("[GPU]: stride=%d, strideUV=%d, width=%d, height=%d, alpha=%d, ", params->stride, params->strideUV,
                 params->width, params->height, params->alpha);
    const size_t frameBytes = planeBytes(int64_t{params->stride} + params->strideUV, params->height);
    const size_t maskBytes = planeBytes(params->stride, params->height);
    const Plane planes[kPlanes] = {
        {params->pSrc1, frameBytes, params->pSrc1, CL_MEM_READ_WRITE | CL_MEM_COPY_HOST_PTR, true},
        {params->pSrc2, frameBytes, params->pSrc2Ref, CL_MEM_READ_ONLY | CL_MEM_COPY_HOST_PTR, true},
        {params->pMask, maskBytes, params->pMaskRef, CL_MEM_READ_ONLY | CL_MEM_COPY_HOST_PTR, true},
        {params->pOut, maskBytes, params->pOut, CL_MEM_WRITE_ONLY | CL_MEM_ALLOC_HOST_PTR, false}};
    Buffers buffers;
    const MemAllocatorTable* table = g_memAllocatorMFNR.load(std::memory_order_acquire);
    const bool importMode = table != nullptr && table->lookup != nullptr;
    if (importMode) {
        const int status = importPlanes(*algo, *table, planes, buffers);
        if (status != 0) return status;
    } else {
        createCopies(algo->foundation->context, planes, buffers);
    }
    cl_command_queue queue = algo->foundation->cmdQueueGPU;
    cl_kernel kernel = algo->kernels[kTemporalFilterKernel];
    int status = setArguments(kernel, *params, buffers);
    if (status == 0) status = runKernel(queue, kernel, *params);
    if (status != 0) return status;
    // Imported planes are shared: nothing has to be copied.
    if (importMode) return clFinish(queue);
    // By the first frame's shift; in copy mode all shifts are 0.
    const cl_int second = copyBack(queue, buffers.mem[kSrc2], buffers.shift[kSrc1], planes[kSrc2]);
    const cl_int out = copyBack(queue, buffers.mem[kOut], buffers.shift[kOut], planes[kOut]);
    return second != CL_SUCCESS ? second : out;
}

}  // namespace eis
