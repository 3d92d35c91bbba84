#include "host/dsp/denoise_call.h"

#include <algorithm>
#include <opencv2/imgproc.hpp>

#include "host/dsp/device_picture.h"
#include "host/dsp/entry_call.h"
#include "host/dsp/library_log.h"
#include "host/program/exit_codes.h"

namespace eishost {

namespace {

constexpr int kLeastSide = 128;

constexpr int roundUp(int value, int multiple) {
    return (value + multiple - 1) / multiple * multiple;
}

cv::Mat mirrored(const cv::Mat& plane, int columns, int rows) {
    cv::Mat padded;
    cv::copyMakeBorder(plane, padded, 0, rows - plane.rows, 0, columns - plane.cols, cv::BORDER_REFLECT);
    return padded;
}

Picture padPicture(const Picture& picture, int width, int height) {
    Picture padded(width, height);
    for (int plane = 0; plane < 3; ++plane) {
        const int part = plane == 0 ? 1 : 2;
        mirrored(picture.mat(plane), width / part, height / part).copyTo(padded.mat(plane));
    }
    return padded;
}

Picture cutPicture(const Picture& picture, int width, int height) {
    Picture cut(width, height);
    for (int plane = 0; plane < 3; ++plane) {
        const int part = plane == 0 ? 1 : 2;
        picture.mat(plane)({0, 0, width / part, height / part}).copyTo(cut.mat(plane));
    }
    return cut;
}

DeviceAddress putMask(DspArena& arena, const cv::Mat& mask, int width, int height) {
    const int pitch = eisPitch(width);
    const std::size_t bytes = eisSizeOfMotionMask(width, pitch, height);
    const DeviceAddress address = arena.allocate(bytes, "stDNParams.pMaskIIR");
    std::fill_n(arena.dspSide(address), bytes, std::uint8_t{0});
    if (!mask.empty()) {
        const cv::Mat padded = mirrored(mask, width, height);
        copyRows(arena.dspSide(address), pitch, padded.data, width, width, height);
    }
    arena.syncToCpu(address);
    return address;
}

// The forty words open the table, the rest is zero.
DeviceAddress putTable(DspArena& arena, const std::vector<std::uint32_t>& words) {
    const std::size_t bytes = eisSizeOfChromaThresholds();
    const DeviceAddress address = arena.allocate(bytes, "stDNParams.pSpatialChromaNrLUT");
    std::fill_n(arena.dspSide(address), bytes, std::uint8_t{0});
    std::memcpy(arena.dspSide(address), words.data(), words.size() * sizeof words[0]);
    arena.syncToCpu(address);
    return address;
}

EntryOutcome callSpatial(DspArena& arena, const ST_DN_PARAMS_NEW& params, const DevicePicture& device,
                         std::ostream* log) {
    ST_MULTIDENOISE_PARAMS_IN_DEV in{};
    in.stDNParams = params;
    ST_MULTIDENOISE_PARAMS_OUT_DEV out{};
    out.stPicOut = device.block();
    ST_SPATIAL_NR_CALL_BLOCK block{arena.put(in, "inPara"), arena.put(out, "outPara")};
    arena.syncToCpu(block.inPara);
    arena.syncToCpu(block.outPara);
    return callEntry(arena, SpatialNrHLMain_ACoreApi, &block, log);
}

EntryOutcome callChroma(DspArena& arena, const ST_DN_PARAMS_NEW& params, const DevicePicture& device,
                        const DenoiseOptions& options) {
    const int64_t scratchBytes = chromaScratchSize(device.width, device.height);
    ST_CHROMA_CALL_BLOCK block{};
    block.stDNParams = arena.put(params, "stDNParams");
    arena.syncToCpu(block.stDNParams);
    block.pMemoryManagement = arena.allocate(static_cast<std::size_t>(scratchBytes), "pMemoryManagement");
    arena.markScratch(block.pMemoryManagement);
    block.memSize = static_cast<std::int32_t>(scratchBytes);
    block.width = device.width;
    block.height = device.height;
    block.stride = device.pitch(0);  // bands of the mask begin at rows of it
    block.pData1 = device.planes[1];
    block.pData2 = device.planes[2];
    const bool low = options.entry == DenoiseEntry::kChromaLow;
    return callEntry(arena, low ? ChromaLowLevelMainCall_2 : ChromaHighLevelMainCall_2, &block, options.log);
}

}  // namespace

const char* entryName(DenoiseEntry entry) {
    switch (entry) {
        case DenoiseEntry::kChromaHigh:
            return "ChromaHighLevelMainCall_2";
        case DenoiseEntry::kChromaLow:
            return "ChromaLowLevelMainCall_2";
        case DenoiseEntry::kLumaAndChroma:
            break;
    }
    return "SpatialNrHLMain_ACoreApi";
}

DenoiseOutcome denoisePicture(const Picture& picture, const DenoiseSettings& settings, const DenoiseOptions& options) {
    const std::string size = std::to_string(picture.width) + "x" + std::to_string(picture.height);
    if (std::min(picture.width, picture.height) < kLeastSide) {
        throw HostError(kExitUnsuitable, "a picture of " + size + " is too small, denoising starts at 128x128");
    }
    if (!options.mask.empty() && options.mask.size() != cv::Size(picture.width, picture.height)) {
        throw HostError(kExitUnsuitable, "the mask has " + std::to_string(options.mask.cols) + "x" +
                                             std::to_string(options.mask.rows) + ", the picture " + size);
    }
    const int width = roundUp(picture.width, 4);
    const int height = roundUp(picture.height, 16);
    DspArena arena(options.trace);
    const DevicePicture device = uploadPicture(arena, padPicture(picture, width, height), "stPicOut");
    for (const DeviceAddress plane : device.planes) arena.syncToCpu(plane);
    ST_DN_PARAMS_NEW params = denoiseParams(settings);
    params.pMaskIIR = putMask(arena, options.mask, width, height);
    params.pSpatialChromaNrLUT = putTable(arena, settings.chromaNrLUT);

    const EntryOutcome called = options.entry == DenoiseEntry::kLumaAndChroma
                                    ? callSpatial(arena, params, device, options.log)
                                    : callChroma(arena, params, device, options);
    if (called.status != retStsOK) {
        const auto lines = libraryLog();
        throw HostError(kExitLibrary, std::string(entryName(options.entry)) + " returned " +
                                          std::to_string(called.status) +
                                          (lines.empty() ? "" : ": " + lines.back().text));
    }
    DenoiseOutcome outcome{cutPicture(downloadPicture(arena, device), picture.width, picture.height),
                           called.milliseconds};
    outcome.picture.range = picture.range;
    return outcome;
}

}  // namespace eishost
