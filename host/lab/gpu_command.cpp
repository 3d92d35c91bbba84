// eis-lab gpu: one run of the GPU's temporal filter.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <vector>

#include "host/command_line/raw_options.h"
#include "host/dsp/library_log.h"
#include "host/lab/commands.h"
#include "host/picture/picture.h"
#include "host/program/exit_codes.h"
#include "host/program/messages.h"
#include "opencl/cl_platform.h"
#include "opencl/opencl_ivp_api.h"
#include "opencl/temporal_filter.h"

namespace eislab {

namespace {

using eishost::HostError;
using eishost::Picture;

namespace fs = std::filesystem;

constexpr char kVendor[] = "ARM";
constexpr char kLayerVariable[] = "OPENCL_LAYERS";

struct GpuArguments {
    std::string frame;
    std::string reference;
    std::string mask;
    std::string program;
    std::string out;
    int alpha = 128;
    bool binary = false;
    eishost::RawOptions raw;
};

bool hasVendor() {
    cl_uint count = 0;
    if (clGetPlatformIDs(0, nullptr, &count) != CL_SUCCESS) return false;
    std::vector<cl_platform_id> platforms(count);
    clGetPlatformIDs(count, platforms.data(), nullptr);
    return std::any_of(platforms.begin(), platforms.end(), [](cl_platform_id platform) {
        char vendor[128] = {};
        clGetPlatformInfo(platform, CL_PLATFORM_VENDOR, sizeof vendor - 1, vendor, nullptr);
        return std::strcmp(vendor, kVendor) == 0;
    });
}

// Where the build puts the layer, next to the folder of the program. It is not installed.
fs::path layerPath() {
    return fs::read_symlink("/proc/self/exe").parent_path().parent_path() / "lib" / "libeis_opencl_test_layer.so";
}

bool isBehindLayer(const std::string& layers) {
    return (':' + layers + ':').find(':' + layerPath().string() + ':') != std::string::npos;
}

// The loader reads the variable at its first call, so the program starts again with it. The test layer comes first, at
// the devices, so that the user's own layers see what it presents.
void restartBehindLayer(const std::string& layers) {
    const fs::path layer = layerPath();
    if (isBehindLayer(layers)) {
        throw HostError(
            eishost::kExitUnsuitable,
            "no OpenCL device that the test layer could present as the phone's GPU; is a runtime installed?");
    }
    if (!fs::exists(layer)) {
        throw HostError(eishost::kExitUnsuitable,
                        "no OpenCL platform of vendor ARM here; eis-lab gpu lets another one stand in for it in the "
                        "build tree only: there is no test layer at " +
                            layer.string());
    }
    setenv(kLayerVariable, (layer.string() + (layers.empty() ? "" : ':' + layers)).c_str(), 1);
    std::ifstream commandLine("/proc/self/cmdline", std::ios::binary);
    std::vector<std::string> words;
    for (std::string word; std::getline(commandLine, word, '\0');) words.push_back(word);
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    execv("/proc/self/exe", arguments.data());
    throw HostError(eishost::kExitInternal, "cannot start again behind the OpenCL test layer");
}

// Comes before the pictures: what was read of standard input would be gone after the restart.
void findGpu() {
    // The loader cuts the variable up where it stands, so it is read before the first call.
    const char* variable = std::getenv(kLayerVariable);
    const std::string layers = variable != nullptr ? variable : "";
    if (!hasVendor()) restartBehindLayer(layers);
    if (isBehindLayer(layers)) {
        eishost::note("the OpenCL test layer presents a device of this machine as the phone's GPU");
    }
    if (!layers.empty() && layers != layerPath()) eishost::note(std::string(kLayerVariable) + " is " + layers);
}

// A frame as the filter takes it: rows of luma, then as many rows of half the pitch for chroma.
std::vector<uint8_t> frameMemory(const Picture& picture, int stride) {
    std::vector<uint8_t> memory(static_cast<size_t>(stride + stride / 2) * static_cast<size_t>(picture.height));
    uint8_t* row = memory.data();
    const auto copyPlane = [&](int plane, int width, int height, int pitch) {
        for (int y = 0; y < height; ++y, row += pitch) {
            std::memcpy(row, picture.planes[plane].data() + static_cast<size_t>(y) * static_cast<size_t>(width),
                        static_cast<size_t>(width));
        }
    };
    copyPlane(0, picture.width, picture.height, stride);
    copyPlane(1, picture.chromaWidth(), picture.chromaHeight(), stride / 2);
    copyPlane(2, picture.chromaWidth(), picture.chromaHeight(), stride / 2);
    return memory;
}

void requireSize(const std::string& path, const Picture& picture, const Picture& frame) {
    if (picture.width == frame.width && picture.height == frame.height) return;
    throw HostError(eishost::kExitUnsuitable, path + ": its size differs from the frame's");
}

void requireOk(int status, const std::string& failure, eishost::ExitCode code = eishost::kExitLibrary) {
    if (status == 0) return;
    for (const eishost::LogLine& line : eishost::libraryLog()) {
        if (line.priority == 6) eishost::tell("log: " + line.text);
    }
    throw HostError(code, failure + " with status " + std::to_string(status));
}

// The library only logs that it cannot read a program: "ERROR: Failed to open file 'PATH'" or the like.
void requireReadableProgram(const char* advice) {
    for (const eishost::LogLine& line : eishost::libraryLog()) {
        const size_t quote = line.text.find(" file '");
        if (quote == std::string::npos || !line.text.starts_with("ERROR: Failed to ")) continue;
        const std::string path = line.text.substr(quote + 7, line.text.rfind('\'') - quote - 7);
        throw HostError(eishost::kExitUnreadable, path + ": the OpenCL program cannot be read, or is empty" + advice);
    }
}

// Without a program of the user's the path comes up as on the phone, from its fixed file.
void setUp(const GpuArguments& arguments) {
    if (arguments.program.empty()) {
        const int status = eis::SetUpOpenclMFNR(nullptr);
        requireReadableProgram("; --program names another");
        requireOk(status, "set-up failed");
        return;
    }
    eis::OpenCLFoundation* foundation = nullptr;
    requireOk(eis::setupOpencl(&foundation, kVendor), "set-up failed");
    const int mode = arguments.binary ? eis::kProgramBinary : 0;
    const int status = foundation->context == nullptr ? -1
                                                      : eis::setupOpencl_algo(foundation, arguments.program.c_str(),
                                                                              mode, &eis::g_handleAlgoOpenCL);
    if (status != 0) eis::cleanOpencl(foundation);
    requireReadableProgram("");
    requireOk(status, arguments.program + ": the build of the filter's kernels failed", eishost::kExitUnsuitable);
}

void runGpu(const GpuArguments& arguments) {
    eishost::requirePictureOutput(arguments.out);
    findGpu();
    const Picture frame = eishost::loadPicture(arguments.frame, arguments.raw);
    const Picture reference = eishost::loadPicture(arguments.reference, arguments.raw);
    const Picture mask = eishost::loadPicture(arguments.mask, arguments.raw);
    requireSize(arguments.reference, reference, frame);
    requireSize(arguments.mask, mask, frame);
    eishost::startLibraryLog(nullptr);
    setUp(arguments);
    const int stride = (frame.width + 127) & ~127;
    std::vector<uint8_t> src1 = frameMemory(frame, stride);
    std::vector<uint8_t> src2 = frameMemory(reference, stride);
    std::vector<uint8_t> maskPlane = frameMemory(mask, stride);
    std::vector<uint8_t> filtered(static_cast<size_t>(stride) * static_cast<size_t>(frame.height));
    eis::ST_TEMPORALFILTER_PARAMS params{nullptr,          nullptr,         src1.data(),     src2.data(),
                                         maskPlane.data(), filtered.data(), arguments.alpha, stride,
                                         stride / 2,       frame.height,    frame.width};
    const int status = eis::kernel_temporalfilter(&params);
    eis::CleanOpenclMFNR();
    requireOk(status, "the filter failed");

    Picture result = frame;
    // Columns past the last whole work item are not dispatched and stay the frame's.
    const int columns = frame.width / 16 * 16;
    if (columns < frame.width) {
        eishost::note("the last " + std::to_string(frame.width - columns) +
                      " columns are not filtered: the filter works on whole groups of 16");
    }
    for (int y = 0; y < frame.height; ++y) {
        std::memcpy(result.planes[0].data() + static_cast<size_t>(y) * static_cast<size_t>(frame.width),
                    filtered.data() + static_cast<size_t>(y) * static_cast<size_t>(stride),
                    static_cast<size_t>(columns));
    }
    eishost::savePicture(arguments.out, result, arguments.raw);
    // Standard output may be the picture.
    std::ostream& to = arguments.out == "-" ? std::cerr : std::cout;
    for (const eishost::LogLine& line : eishost::libraryLog()) {
        if (line.text.find("kernel_temporalfilter use") != std::string::npos) to << line.text << '\n';
    }
    if (arguments.out != "-") to << arguments.out << '\n';
}

}  // namespace

void addGpuCommand(CLI::App& app) {
    auto arguments = std::make_shared<GpuArguments>();
    CLI::App* gpu = app.add_subcommand("gpu", "Runs the GPU's temporal filter over a frame, a reference and a mask");
    gpu->add_option("FRAME", arguments->frame, "First frame (luma is filtered)")->required();
    gpu->add_option("REF", arguments->reference, "Second frame, of equal size")->required();
    gpu->add_option("--mask", arguments->mask, "Mask of the frames' size; its luma is handed over")->required();
    gpu->add_option("--alpha", arguments->alpha, "Blend parameter, handed on to the kernel")->capture_default_str();
    gpu->add_option("--program", arguments->program,
                    "OpenCL program with all kernels; by default the phone's prebuilt file");
    gpu->add_flag("--binary", arguments->binary, "The program is a prebuilt binary, not source");
    gpu->add_option("--out", arguments->out, "Picture to write: filtered luma, the first frame's chroma")->required();
    addRawOptions(*gpu, arguments->raw, eishost::RawUse::kReadAndWrite);
    gpu->footer(
        "The library holds no kernels. Where no platform of the phone's vendor exists, the OpenCL test layer\n"
        "presents this machine's device as one, and a note says so; layers that OPENCL_LAYERS names stay in front\n"
        "of it. The layer is in the build tree only, it is not installed. tests/gpu/program_fixture.cl of the\n"
        "sources is a program to try: where the mask is not zero the frame stays, elsewhere REF is mixed in by\n"
        "alpha of 256.");
    gpu->callback([arguments] { runGpu(*arguments); });
}

}  // namespace eislab
