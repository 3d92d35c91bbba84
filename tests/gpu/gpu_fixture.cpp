#include "tests/gpu/gpu_fixture.h"

#include <EGL/egl.h>
#include <pthread.h>

#include <cstdlib>
#include <map>

#include "opencl/cl_platform.h"
#include "opencl/opencl_ivp_api.h"
#include "tests/harness/calls.h"

namespace eis::test {

namespace {

cl_device_id firstDevice() {
    cl_platform_id platform = nullptr;
    cl_device_id device = nullptr;
    if (clGetPlatformIDs(1, &platform, nullptr) != CL_SUCCESS) return nullptr;
    if (clGetDeviceIDs(platform, CL_DEVICE_TYPE_ALL, 1, &device, nullptr) != CL_SUCCESS) return nullptr;
    return device;
}

std::string buildBinary(const char* options) {
    eisLayerReset({});
    cl_device_id device = firstDevice();
    cl_context context = clCreateContext(nullptr, 1, &device, nullptr, nullptr, nullptr);
    const std::string source = programSource();
    const char* text = source.c_str();
    cl_program program = clCreateProgramWithSource(context, 1, &text, nullptr, nullptr);
    EXPECT_EQ(clBuildProgram(program, 1, &device, options, nullptr, nullptr), CL_SUCCESS);
    size_t size = 0;
    clGetProgramInfo(program, CL_PROGRAM_BINARY_SIZES, sizeof size, &size, nullptr);
    std::string binary(size, '\0');
    char* bytes = binary.data();
    clGetProgramInfo(program, CL_PROGRAM_BINARIES, sizeof bytes, &bytes, nullptr);
    clReleaseProgram(program);
    clReleaseContext(context);
    return binary;
}

}  // namespace

void recordCall(const char* call) {
    const OwnWork own;
    recordCallback(call);
}

void resetLayer(EisLayerSettings settings, int failCall, bool failKeepsObject) {
    settings.failCall = failCall;
    settings.failKeepsObject = failKeepsObject;
    eisLayerReset(settings);
    clearEvents();
}

Events openClCalls() {
    Events calls = callbacks();
    std::erase_if(calls, [](const std::string& call) { return !call.starts_with("cl"); });
    return calls;
}

std::string programSource() {
    return readFile(std::string(EIS_TEST_FOLDER) + "/program_fixture.cl");
}

std::string programBinary(const char* options) {
    static std::map<std::string, std::string> built;
    std::string& binary = built[options];
    if (binary.empty()) binary = buildBinary(options);
    return binary;
}

void GpuTest::SetUp() {
    ASSERT_NE(std::getenv("OPENCL_LAYERS"), nullptr) << "it runs behind the test layer, as ctest starts it";
    eisLayerReset({});
    g_accessResult = 0;
    if (firstDevice() == nullptr) GTEST_SKIP() << "no OpenCL device on this machine";
    placeFile(kProgramPath, programBinary(""));
    resetLayer(kPresented);
}

void GpuTest::TearDown() {
    eisLayerReset({});
    EXPECT_EQ(CleanOpenclMFNR(), 0);
    EXPECT_EQ(eisLayerLive(), 0);
}

void GpuTest::placeFile(const std::string& path, const std::string& content) {
    const std::string target = folder_.path(std::to_string(redirects_.size()));
    writeFile(target, content);
    redirects_.push_back(std::make_unique<FileRedirect>(path, target));
}

}  // namespace eis::test

extern "C" {
int __wrap_access(const char* path, int mode) {
    EXPECT_STREQ(path, eis::test::kArchitectureKey);
    EXPECT_EQ(mode, 0);
    return eis::test::g_accessResult;
}

int __wrap_pthread_setname_np(pthread_t /*thread*/, const char* name) {
    eis::test::recordCall(name);
    return 0;
}

EGLDisplay __wrap_eglGetDisplay(EGLNativeDisplayType native) {
    return native == EGL_DEFAULT_DISPLAY && eis::test::g_eglFault != 1 ? &eis::test::g_eglFault : EGL_NO_DISPLAY;
}

EGLBoolean __wrap_eglInitialize(EGLDisplay display, EGLint* major, EGLint* minor) {
    return display == &eis::test::g_eglFault && major == nullptr && minor == nullptr && eis::test::g_eglFault != 2;
}
}
