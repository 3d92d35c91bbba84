#include "host/dsp/registration_call.h"

#include "host/dsp/device_picture.h"
#include "host/dsp/entry_call.h"
#include "host/program/exit_codes.h"

namespace eishost {

namespace {

constexpr int kIdx = 1;
constexpr int kLeastEntries = 5;

template <typename T>
DeviceAddress putList(DspArena& arena, const std::vector<T>& values, const std::string& field) {
    const DeviceAddress address = arena.allocate(values.size() * sizeof(T), field);
    if (!values.empty()) std::memcpy(arena.dspSide(address), values.data(), values.size() * sizeof(T));
    return address;
}

// The entry reads the lists and the keypoint tables without making them coherent: that is its caller's part.
RansacEstParaContext putMatches(DspArena& arena, const MatchTables& matches) {
    const std::size_t pointBytes = sizeof(cv::Point2f) * matches.entries();
    RansacEstParaContext context{};
    context.stMatchPairs.pRefPoints = arena.allocate(pointBytes, "stMatchPairs.pRefPoints");
    context.stMatchPairs.pCurPoints = arena.allocate(pointBytes, "stMatchPairs.pCurPoints");
    context.stMatchPairs.pointNum = matches.entries();
    context.pCurIndex = putList(arena, matches.curIndex, "pCurIndex");
    context.pRefIndex = putList(arena, matches.refIndex, "pRefIndex");
    context.pDistance = putList(arena, matches.distance, "pDistance");
    context.matchNum = matches.entries();
    context.coordScale = 1;
    context.ratio = matches.ratio;
    context.pRefKeypoints = putList(arena, matches.refKeypoints, "pRefKeypoints");
    context.pCurKeypoints = putList(arena, matches.curKeypoints, "pCurKeypoints");
    for (const DeviceAddress list :
         {context.pCurIndex, context.pRefIndex, context.pDistance, context.pRefKeypoints, context.pCurKeypoints}) {
        arena.syncToCpu(list);
    }
    return context;
}

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

RegistrationOutcome registerFrame(const Picture& reference, const Picture& frame, const MatchTables& matches,
                                  const RegistrationOptions& options) {
    DspArena arena(options.trace);
    const DevicePicture deviceReference = uploadPicture(arena, reference, "stMultiPicIn.astInImg[0]");
    const DevicePicture deviceFrame = uploadPicture(arena, frame, "stMultiPicIn.astInImg[1]");
    const DevicePicture deviceAligned =
        makeDevicePicture(arena, frame.width, frame.height, "stMultiRegistrationPic.astInImg[1]");

    const RansacEstParaContext context = putMatches(arena, matches);
    ST_REGISTRATION_IN_BLOCK in{};
    in.astInImg[0] = deviceReference.block();
    in.astInImg[kIdx] = deviceFrame.block();
    in.astPairs[kIdx - 1] = {context.stMatchPairs.pRefPoints, context.stMatchPairs.pCurPoints, 0};
    ST_REGISTRATION_OUT_BLOCK out{};
    out.astOutImg[kIdx] = deviceAligned.block();
    out.pStatus = arena.allocate(sizeof(std::int32_t), "pStatus");

    ST_RANSAC_REGIS_BLOCK call{};
    call.pRansacEstParaContext = arena.put(context, "pRansacEstParaContext");
    call.stImgRegistrationParamsIn = arena.put(in, "stImgRegistrationParamsIn");
    call.stImgRegistrationParamsOut = arena.put(out, "stImgRegistrationParamsOut");
    call.idx = kIdx;
    call.lumaOnly = options.lumaOnly ? 1 : 0;
    call.pHomography = arena.allocate(9 * sizeof(float), "pHomography");
    const DeviceAddress callAddress = arena.put(call, "block of Ransac_Regis_AcoreAPI_EIS");
    arena.syncToCpu(call.stImgRegistrationParamsOut);
    arena.syncToCpu(callAddress);

    const ret_status returned =
        callEntry(arena, Ransac_Regis_AcoreAPI_EIS,
                  reinterpret_cast<const ST_RANSAC_REGIS_BLOCK*>(arena.cpuSide(callAddress)), options.log)
            .status;
    RegistrationOutcome outcome;
    outcome.log = libraryLog();
    if (returned != retStsOK) {
        throw HostError(kExitLibrary,
                        "Ransac_Regis_AcoreAPI_EIS returned " + std::to_string(returned) + lastError(outcome.log));
    }
    outcome.status = arena.get<std::int32_t>(out.pStatus);
    arena.syncToDsp(call.pRansacEstParaContext);  // the pair count comes back in it, not flushed
    int kept = arena.get<RansacEstParaContext>(call.pRansacEstParaContext).stMatchPairs.pointNum;
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
