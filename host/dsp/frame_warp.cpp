#include "host/dsp/frame_warp.h"

#include <cmath>
#include <cstdint>
#include <string>

#include "host/dsp/device_picture.h"
#include "host/dsp/entry_call.h"
#include "host/picture/metrics.h"
#include "host/program/exit_codes.h"

namespace eishost {

namespace {

constexpr int kGridColumns = 10;
constexpr int kGridRows = 6;
constexpr int kPairs = kGridColumns * kGridRows;

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
            memory.resize(device.bytes(plane));
            device.planes[plane] = arena.share(
                memory.data(), memory.size(),
                (picture == 0 ? "astInImg[1].pData[" : "astOutImg[1].pData[") + std::to_string(plane) + "]");
        }
        pictures[picture] = device.block();
    }

    MatchTables tables;
    for (int i = 0; i < kPairs; ++i) {
        const KeypointRow row = keypointRow(grid_[i]);
        tables.refKeypoints.insert(tables.refKeypoints.end(), row.begin(), row.end());
        tables.refIndex.push_back(static_cast<std::int16_t>(i));
    }
    tables.curKeypoints = tables.refKeypoints;
    tables.curIndex = tables.refIndex;
    tables.distance.assign(kPairs, 0);
    tables.ratio = 1;
    contextWords_ = putMatches(arena, tables);
    // Of the reference the entry reads the size alone, so the frame stands for it.
    call_ = putRegistration(arena, contextWords_, {pictures[0], pictures[0], pictures[1]}, false);
}

cv::Mat FrameWarp::plane_(int picture, int plane) const {
    const int part = plane == 0 ? 1 : 2;
    const int width = size_.width / part;
    return {size_.height / part, width, CV_8UC1, const_cast<std::uint8_t*>(memory_[picture][plane].data()),
            static_cast<std::size_t>(eisPitch(width))};
}

void FrameWarp::writePairs(const cv::Matx33d& homography) {
    std::uint8_t* const table = arena_.dspSide(contextWords_.pCurKeypoints);
    for (int i = 0; i < kPairs; ++i) {
        const KeypointRow row = keypointRow(project(homography, grid_[i]));
        std::memcpy(table + i * sizeof row, row.data(), sizeof row);
    }
    arena_.syncToCpu(contextWords_.pCurKeypoints);
    // The entry leaves the number of pairs that it kept in the block.
    std::memcpy(arena_.dspSide(call_.context), &contextWords_, sizeof contextWords_);
    arena_.syncToCpu(call_.context);
}

bool FrameWarp::warp(const cv::Matx33d& homography, std::ostream* log) {
    writePairs(homography);
    const auto* const block = reinterpret_cast<const ST_RANSAC_REGIS_BLOCK*>(arena_.cpuSide(call_.block));
    const ret_status returned = callEntry(arena_, Ransac_Regis_AcoreAPI_EIS, block, log).status;
    if (returned != retStsOK) {
        throw HostError(kExitLibrary, "Ransac_Regis_AcoreAPI_EIS returned " + std::to_string(returned));
    }
    return arena_.get<std::int32_t>(call_.status) == retStsOK;
}

}  // namespace eishost
