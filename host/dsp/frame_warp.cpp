#include "host/dsp/frame_warp.h"

#include <cmath>
#include <cstdint>
#include <string>

#include "host/dsp/device_picture.h"
#include "host/dsp/entry_call.h"
#include "host/dsp/match_tables.h"
#include "host/program/exit_codes.h"

namespace eishost {

namespace {

constexpr int kGridColumns = 10;
constexpr int kGridRows = 6;
constexpr int kPairs = kGridColumns * kGridRows;
constexpr int kWarped = 1;

template <typename T>
void putValue(std::uint8_t* table, int index, T value) {
    std::memcpy(table + index * sizeof value, &value, sizeof value);
}

void putKeypoint(std::uint8_t* table, int index, const cv::Point2d& point) {
    putValue(table, 3 * index, static_cast<std::int32_t>(std::lround(point.x * kKeypointUnits)));
    putValue(table, 3 * index + 1, static_cast<std::int32_t>(std::lround(point.y * kKeypointUnits)));
    putValue(table, 3 * index + 2, std::int32_t{0});
}

// Positions from corner to corner of a picture.
std::vector<cv::Point2d> gridOf(cv::Size size) {
    std::vector<cv::Point2d> grid;
    for (int row = 0; row < kGridRows; ++row) {
        for (int column = 0; column < kGridColumns; ++column) {
            grid.emplace_back(std::round((size.width - 1.0) * column / (kGridColumns - 1)),
                              std::round((size.height - 1.0) * row / (kGridRows - 1)));
        }
    }
    return grid;
}

}  // namespace

FrameWarp::FrameWarp(DspArena& arena, int width, int height)
    : arena_(arena), size_(width, height), grid_(gridOf(size_)) {
    ST_PICTURE_DEV pictures[2];
    for (const int picture : {0, 1}) {
        DevicePicture device;
        device.width = width;
        device.height = height;
        for (int plane = 0; plane < 3; ++plane) {
            std::vector<std::uint8_t>& memory = memory_[picture][plane];
            memory.resize(static_cast<std::size_t>(device.pitch(plane)) * device.rows(plane));
            device.planes[plane] = arena.share(
                memory.data(), memory.size(),
                (picture == 0 ? "astInImg[1].pData[" : "astOutImg[1].pData[") + std::to_string(plane) + "]");
        }
        pictures[picture] = device.block();
    }

    contextWords_.stMatchPairs.pRefPoints = arena.allocate(kPairs * sizeof(cv::Point2f), "pRefPoints");
    contextWords_.stMatchPairs.pCurPoints = arena.allocate(kPairs * sizeof(cv::Point2f), "pCurPoints");
    contextWords_.pRefKeypoints = refKeypoints_ = arena.allocate(kPairs * 3 * sizeof(std::int32_t), "pRefKeypoints");
    contextWords_.pCurKeypoints = curKeypoints_ = arena.allocate(kPairs * 3 * sizeof(std::int32_t), "pCurKeypoints");
    const DeviceAddress indices = arena.allocate(kPairs * sizeof(std::int16_t), "pRefIndex");
    const DeviceAddress distances = arena.allocate(kPairs * sizeof(std::int32_t), "pDistance");
    for (int i = 0; i < kPairs; ++i) {
        putKeypoint(arena.dspSide(refKeypoints_), i, grid_[i]);
        putValue(arena.dspSide(indices), i, static_cast<std::int16_t>(i));
        putValue(arena.dspSide(distances), i, std::int32_t{0});
    }
    for (const DeviceAddress address : {refKeypoints_, indices, distances}) arena.syncToCpu(address);
    contextWords_.pRefIndex = contextWords_.pCurIndex = indices;
    contextWords_.pDistance = distances;
    contextWords_.matchNum = kPairs;
    contextWords_.coordScale = 1;
    contextWords_.ratio = 1;
    context_ = arena.allocate(sizeof contextWords_, "pRansacEstParaContext");

    // Of the reference the entry reads the size alone, so the frame stands for it.
    ST_REGISTRATION_IN_BLOCK in{};
    in.astInImg[0] = in.astInImg[kWarped] = pictures[0];
    in.astPairs[kWarped - 1] = {contextWords_.stMatchPairs.pRefPoints, contextWords_.stMatchPairs.pCurPoints, 0};
    status_ = arena.allocate(sizeof(std::int32_t), "pStatus");
    ST_REGISTRATION_OUT_BLOCK out{};
    out.astOutImg[kWarped] = pictures[1];
    out.pStatus = status_;
    ST_RANSAC_REGIS_BLOCK call{};
    call.pRansacEstParaContext = context_;
    call.stImgRegistrationParamsIn = arena.put(in, "stImgRegistrationParamsIn");
    call.stImgRegistrationParamsOut = arena.put(out, "stImgRegistrationParamsOut");
    call.idx = kWarped;
    call.pHomography = arena.allocate(9 * sizeof(float), "pHomography");
    block_ = arena.put(call, "block of Ransac_Regis_AcoreAPI_EIS");
    arena.syncToCpu(call.stImgRegistrationParamsOut);
    arena.syncToCpu(block_);
}

cv::Mat FrameWarp::plane_(int picture, int plane) const {
    const int part = plane == 0 ? 1 : 2;
    const int width = size_.width / part;
    return {size_.height / part, width, CV_8UC1, const_cast<std::uint8_t*>(memory_[picture][plane].data()),
            static_cast<std::size_t>(devicePitch(width))};
}

void FrameWarp::writePairs(const cv::Matx33d& homography) {
    std::uint8_t* const table = arena_.dspSide(curKeypoints_);
    for (int i = 0; i < kPairs; ++i) {
        const cv::Vec3d to = homography * cv::Vec3d(grid_[i].x, grid_[i].y, 1);
        putKeypoint(table, i, {to[0] / to[2], to[1] / to[2]});
    }
    arena_.syncToCpu(curKeypoints_);
    contextWords_.stMatchPairs.pointNum = kPairs;
    std::memcpy(arena_.dspSide(context_), &contextWords_, sizeof contextWords_);
    arena_.syncToCpu(context_);
}

bool FrameWarp::warp(const cv::Matx33d& homography, std::ostream* log) {
    writePairs(homography);
    const auto* const block = reinterpret_cast<const ST_RANSAC_REGIS_BLOCK*>(arena_.cpuSide(block_));
    const ret_status returned = callEntry(arena_, Ransac_Regis_AcoreAPI_EIS, block, log).status;
    if (returned != retStsOK) {
        throw HostError(kExitLibrary, "Ransac_Regis_AcoreAPI_EIS returned " + std::to_string(returned));
    }
    return arena_.get<std::int32_t>(status_) == retStsOK;
}

}  // namespace eishost
