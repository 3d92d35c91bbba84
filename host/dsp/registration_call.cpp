#include "host/dsp/registration_call.h"

#include "host/dsp/device_picture.h"
#include "host/dsp/entry_call.h"
#include "host/program/exit_codes.h"

namespace eishost {

namespace {

constexpr int kIdx = 1;
constexpr int kLeastEntries = 5;

std::vector<cv::Point2f> readPoints(DspArena& arena, DeviceAddress address, int count) {
    arena.syncToDsp(address);  // the entry does not flush the arrays
    std::vector<cv::Point2f> points(count);
    if (count > 0) std::memcpy(points.data(), arena.dspSide(address), sizeof(cv::Point2f) * count);
    return points;
}

std::string lastError(const std::vector<LogLine>& log) {
    for (auto line = log.rbegin(); line != log.rend(); ++line) {
        if (line->priority >= 6) return ": " + line->text;
    }
    return {};
}

}  // namespace

RegistrationBlock putRegistration(DspArena& arena, const RansacEstParaContext& context,
                                  const RegistrationPictures& pictures, bool lumaOnly) {
    ST_REGISTRATION_IN_BLOCK in{};
    in.astInImg[0] = pictures.reference;
    in.astInImg[kIdx] = pictures.frame;
    in.astPairs[kIdx - 1] = {context.stMatchPairs.pRefPoints, context.stMatchPairs.pCurPoints, 0};
    ST_REGISTRATION_OUT_BLOCK out{};
    out.astOutImg[kIdx] = pictures.aligned;
    out.pStatus = arena.allocate(sizeof(std::int32_t), "pStatus");

    ST_RANSAC_REGIS_BLOCK call{};
    call.pRansacEstParaContext = arena.put(context, "pRansacEstParaContext");
    call.stImgRegistrationParamsIn = arena.put(in, "stImgRegistrationParamsIn");
    call.stImgRegistrationParamsOut = arena.put(out, "stImgRegistrationParamsOut");
    call.idx = kIdx;
    call.lumaOnly = lumaOnly ? 1 : 0;
    call.pHomography = arena.allocate(eisSizeOfHomography(), "pHomography");
    const DeviceAddress block = arena.put(call, "block of Ransac_Regis_AcoreAPI_EIS");
    arena.syncToCpu(call.stImgRegistrationParamsOut);
    arena.syncToCpu(block);
    return {block, call.pRansacEstParaContext, out.pStatus};
}

RegistrationOutcome registerFrame(const Picture& reference, const Picture& frame, const MatchTables& matches,
                                  const RegistrationOptions& options) {
    DspArena arena(options.trace);
    const DevicePicture deviceReference = uploadPicture(arena, reference, "stMultiPicIn.astInImg[0]");
    const DevicePicture deviceFrame = uploadPicture(arena, frame, "stMultiPicIn.astInImg[1]");
    const DevicePicture deviceAligned =
        makeDevicePicture(arena, frame.width, frame.height, "stMultiRegistrationPic.astInImg[1]");

    const RansacEstParaContext context = putMatches(arena, matches);
    const RegistrationBlock call = putRegistration(
        arena, context, {deviceReference.block(), deviceFrame.block(), deviceAligned.block()}, options.lumaOnly);

    const ret_status returned =
        callEntry(arena, Ransac_Regis_AcoreAPI_EIS,
                  reinterpret_cast<const ST_RANSAC_REGIS_BLOCK*>(arena.cpuSide(call.block)), options.log)
            .status;
    RegistrationOutcome outcome;
    outcome.log = libraryLog();
    if (returned != retStsOK) {
        throw HostError(kExitLibrary,
                        "Ransac_Regis_AcoreAPI_EIS returned " + std::to_string(returned) + lastError(outcome.log));
    }
    outcome.status = arena.get<std::int32_t>(call.status);
    arena.syncToDsp(call.context);  // the pair count comes back in it, not flushed
    int kept = arena.get<RansacEstParaContext>(call.context).stMatchPairs.pointNum;
    if (matches.entries() < kLeastEntries) kept = 0;  // then the entry turns back before it builds a pair
    outcome.keptRef = readPoints(arena, context.stMatchPairs.pRefPoints, kept);
    outcome.keptCur = readPoints(arena, context.stMatchPairs.pCurPoints, kept);
    outcome.aligned = downloadPicture(arena, deviceAligned, options.lumaOnly ? 1 : 3);
    outcome.aligned.range = frame.range;
    outcome.ransacMs = loggedMilliseconds(outcome.log, "[RansacEst_AcoreAPI_EIS]");
    outcome.registrationMs = loggedMilliseconds(outcome.log, "[ImgRegistration]");
    outcome.flushMs = loggedMilliseconds(outcome.log, "[cacheflush]");
    return outcome;
}

}  // namespace eishost
