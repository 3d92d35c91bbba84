#include "host/dsp/pair_filter.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <string>

#include "host/dsp/entry_call.h"
#include "host/dsp/match_tables.h"
#include "host/program/exit_codes.h"

namespace eishost {

namespace {

// The entry takes pairs within this many of its pixels for agreeing: the square root of 15.
constexpr double kLibraryTolerance = 3.8729833;
constexpr int kFewestPairs = 5;

// A keypoint table of the points times `scale`.
void writeKeypoints(std::uint8_t* to, const std::vector<cv::Point2f>& points, double scale) {
    for (const cv::Point2f& point : points) {
        const KeypointRow row = keypointRow(cv::Point2d(point) * scale);
        std::memcpy(to, row.data(), sizeof row);
        to += sizeof row;
    }
}

// The rows of a keypoint table whose positions the points are, which keep the table's order.
std::vector<int> rowsOf(const std::uint8_t* points, int count, const std::uint8_t* table, int rows) {
    std::vector<int> found;
    for (int row = 0; row < rows && static_cast<int>(found.size()) < count; ++row) {
        std::int32_t keypoint[2];
        std::memcpy(keypoint, table + 3 * row * sizeof keypoint[0], sizeof keypoint);
        cv::Point2f point;
        std::memcpy(&point, points + found.size() * sizeof point, sizeof point);
        const cv::Point2f position(static_cast<float>(keypoint[0]), static_cast<float>(keypoint[1]));
        if (point * kKeypointUnits == position) found.push_back(row);
    }
    return found;
}

}  // namespace

PairFilter::PairFilter(DspArena& arena, int mostPairs) : arena_(arena), mostPairs_(std::min(mostPairs, kMaxKeypoints)) {
    // Pair i is row i of both tables. All distances are 0, below that of a second best, which no pair has.
    MatchTables tables;
    tables.refKeypoints.resize(mostPairs_ * std::tuple_size_v<KeypointRow>);
    tables.curKeypoints = tables.refKeypoints;
    tables.refIndex.resize(mostPairs_);
    std::iota(tables.refIndex.begin(), tables.refIndex.end(), std::int16_t{0});
    tables.curIndex = tables.refIndex;
    tables.distance.resize(mostPairs_);
    tables.ratio = 1;
    words_ = putMatches(arena, tables);
    block_ = arena.allocate(sizeof words_, "block of RansacEst_AcoreAPI_EIS");
}

std::vector<int> PairFilter::agreeing(const PointPairs& pairs, double tolerance, std::ostream* log) {
    const int count = std::min(static_cast<int>(pairs.ref.size()), mostPairs_);
    if (count < kFewestPairs) return {};
    // The entry's tolerance is fixed, so the points are handed over at the scale that makes it the wanted one.
    const double scale = kLibraryTolerance / tolerance;
    writeKeypoints(arena_.dspSide(words_.pRefKeypoints), {pairs.ref.begin(), pairs.ref.begin() + count}, scale);
    writeKeypoints(arena_.dspSide(words_.pCurKeypoints), {pairs.cur.begin(), pairs.cur.begin() + count}, scale);
    words_.stMatchPairs.pointNum = words_.matchNum = count;
    std::memcpy(arena_.dspSide(block_), &words_, sizeof words_);
    for (const DeviceAddress address : {words_.pRefKeypoints, words_.pCurKeypoints, block_}) {
        arena_.syncToCpu(address);
    }

    auto* const block = reinterpret_cast<RansacEstParaContext*>(arena_.cpuSide(block_));
    const ret_status status = callEntry(arena_, RansacEst_AcoreAPI_EIS, block, log).status;
    if (status == retStsNotEnoughKeypoints) return {};
    if (status != retStsOK) {
        throw HostError(kExitLibrary, "RansacEst_AcoreAPI_EIS returned " + std::to_string(status));
    }
    // The entry flushes nothing.
    for (const DeviceAddress address : {block_, words_.stMatchPairs.pRefPoints}) arena_.syncToDsp(address);
    const int kept = arena_.get<RansacEstParaContext>(block_).stMatchPairs.pointNum;
    if (kept < kFewestPairs) return {};
    return rowsOf(arena_.dspSide(words_.stMatchPairs.pRefPoints), kept, arena_.dspSide(words_.pRefKeypoints), count);
}

}  // namespace eishost
