#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>
#include <random>
#include <utility>

#include "bench/frame.h"
#include "bench/works.h"
#include "include/acore_api.h"
#include "libCore/core/source/neon/warp/affine_transform.h"
#include "libCore/core/source/neon/warp/mirror_fill.h"
#include "libCore/core/source/neon/warp/warp_runs.h"
#include "libCore/core/source/registration/motion_estimation.h"

namespace eisbench {

namespace {

// A hand's shake: 0.3 degree, some pixels, slight perspective.
constexpr float kHomography[9] = {0.9999863F, -0.0052360F, 12.0F, 0.0052360F, 0.9999863F, -4.0F, 1e-7F, 2e-7F, 1.0F};

struct WarpWork {
    WarpWork(int width, int height) : from(width, height), to(width, height), xTable(from.stride() / 2) {
        from.fill(2);
        eis::MotionEstimation(kHomography, width, height, &area);
        for (int g = 0; g < from.stride() / 8; ++g) {
            for (int j = 0; j < 4; ++j) xTable[4 * g + j] = static_cast<float>(area.x + 8 * g + 2 * j);
        }
    }

    static eis::ST_PICTURE picture(Frame& frame) {
        return {frame.width(), frame.height(), frame.stride(), {frame.plane(0), frame.plane(1), frame.plane(2)}, 2};
    }

    void fourThreads() {
        const auto source = picture(from);
        const auto destination = picture(to);
        eis::AffineTransform_neon_stride(nullptr, &source, &destination, kHomography, &area, xTable.data());
    }

    void oneThread() {
        const eis::WarpRecord record{picture(from), picture(to), area.x,      area.y,
                                     area.width,    area.height, kHomography, xTable.data()};
        eis::WarpRuns(record).work(0);
        eis::MirrorFillRows(record.destination, record.y, record.h);
    }

    // Luma linear, chroma nearest, as the library samples them.
    void openCv() {
        const cv::Matx33d luma(kHomography[0], kHomography[1], kHomography[2], kHomography[3], kHomography[4],
                               kHomography[5], kHomography[6], kHomography[7], kHomography[8]);
        const cv::Matx33d chroma(luma(0, 0), luma(0, 1), luma(0, 2) / 2, luma(1, 0), luma(1, 1), luma(1, 2) / 2,
                                 luma(2, 0) * 2, luma(2, 1) * 2, 1);
        for (int i = 0; i < 3; ++i) {
            const int shift = i == 0 ? 0 : 1;
            const cv::Size size(from.width() >> shift, from.height() >> shift);
            const auto pitch = static_cast<size_t>(i == 0 ? from.stride() : from.chromaStride());
            const cv::Mat source(size, CV_8UC1, from.plane(i), pitch);
            cv::Mat destination(size, CV_8UC1, to.plane(i), pitch);
            cv::warpPerspective(source, destination, i == 0 ? luma : chroma, size,
                                (i == 0 ? cv::INTER_LINEAR : cv::INTER_NEAREST) | cv::WARP_INVERSE_MAP,
                                cv::BORDER_REFLECT_101);
        }
    }

    Frame from;
    Frame to;
    std::vector<float> xTable;
    eis::ST_MOTION_AREA area{};
};

void addWarp(int width, int height) {
    const auto warp = std::make_shared<WarpWork>(width, height);
    const std::string size = sizeName(width, height);
    const auto openCv = [=] { warp->openCv(); };
    const auto copy = [=] { std::memcpy(warp->to.bytes().data(), warp->from.bytes().data(), warp->to.bytes().size()); };
    addRow("warp and fill " + size, "eis", [=] { warp->oneThread(); });
    addRow("warp and fill " + size, "OpenCV warpPerspective", openCv);
    addRow("warp and fill " + size, "memcpy of the frame", copy);
    addRow("warp and fill, four threads " + size, "eis", [=] { warp->fourThreads(); });
    addRow("warp and fill, four threads " + size, "OpenCV, two threads", [=] {
        cv::setNumThreads(2);
        openCv();
        cv::setNumThreads(1);
    });
}

struct EstimationWork {
    explicit EstimationWork(int pairs) : count(pairs) {
        std::mt19937 random(3);
        const auto uniform = [&](double low, double high) {
            return low + (high - low) * static_cast<double>(random()) / 4294967295.0;
        };
        const auto inUnits = [](double pixels) { return static_cast<int32_t>(std::lround(pixels * 64)); };
        for (int i = 0; i < pairs; ++i) {
            const double x = uniform(0, 4000);
            const double y = uniform(0, 3000);
            const double w = kHomography[6] * x + kHomography[7] * y + 1;
            const bool outlier = uniform(0, 1) < 0.3;
            const double error = outlier ? 300 : 1;
            const double u = (kHomography[0] * x + kHomography[1] * y + kHomography[2]) / w + uniform(-error, error);
            const double v = (kHomography[3] * x + kHomography[4] * y + kHomography[5]) / w + uniform(-error, error);
            refKeypoints.insert(refKeypoints.end(), {inUnits(x), inUnits(y), 0});
            curKeypoints.insert(curKeypoints.end(), {inUnits(u), inUnits(v), 0});
            refPoints.emplace_back(static_cast<float>(x), static_cast<float>(y));
            curPoints.emplace_back(static_cast<float>(u), static_cast<float>(v));
            indices.push_back(static_cast<int16_t>(i));
            distances.push_back(static_cast<int32_t>(random() % 64));
        }
        refOut.resize(2 * static_cast<size_t>(pairs));
        curOut.resize(2 * static_cast<size_t>(pairs));
    }

    void ours() {
        RansacEstParaContext block{{deviceAddress(refOut.data()), deviceAddress(curOut.data()), count},
                                   deviceAddress(indices.data()),
                                   deviceAddress(indices.data()),
                                   deviceAddress(distances.data()),
                                   count,
                                   1,
                                   0.8F,
                                   deviceAddress(refKeypoints.data()),
                                   deviceAddress(curKeypoints.data())};
        benchmark::DoNotOptimize(RansacEst_AcoreAPI_EIS(&block));
    }

    void openCv() {
        benchmark::DoNotOptimize(
            cv::findHomography(refPoints, curPoints, cv::RANSAC, std::sqrt(15.0), cv::noArray(), 150, 0.9995));
    }

    int count;
    std::vector<int32_t> refKeypoints, curKeypoints, distances;
    std::vector<int16_t> indices;
    std::vector<float> refOut, curOut;
    std::vector<cv::Point2f> refPoints, curPoints;
};

void addEstimation(int pairs) {
    const auto estimation = std::make_shared<EstimationWork>(pairs);
    const std::string work = "robust estimation, " + std::to_string(pairs) + " pairs, 30 % outliers";
    addRow(work, "eis", [=] { estimation->ours(); });
    addRow(work, "OpenCV findHomography", [=] { estimation->openCv(); });
}

}  // namespace

void registerRegistrationWorks() {
    addWarp(4000, 3000);
    addEstimation(500);
    addEstimation(2000);
}

void addRegistrationGoals(Goals& goals) {
    const auto addWarpGoal = [&](const std::string& work, int cores, Limits limits) {
        if (!goals.wanted(work)) return;
        const auto warp = std::make_shared<WarpWork>(4000, 3000);
        const Clock clock = cores == 1 ? Clock::kThreadCpu : Clock::kWall;
        goals.addTiming(work, {[=] { cores == 1 ? warp->oneThread() : warp->fourThreads(); }, clock, cores});
        goals.addTiming("OpenCV " + work, {[=] { warp->openCv(); }, clock, cores});
        goals.addGoal(work, {"OpenCV " + work}, limits);
    };
    addWarpGoal("warp and fill 4000x3000", 1, {1.0 / 14, 1.0 / 10});
    addWarpGoal("warp and fill 4000x3000, four threads on two cores", 2, {1.0 / 13, 1.0 / 9});
    const std::string large = "warp and fill at 108 MP, a pixel";
    if (goals.wanted(large)) {
        const std::string small = "warp and fill at 12 MP, a pixel";
        for (const int times : {1, 3}) {
            const auto warp = std::make_shared<WarpWork>(4000 * times, 3000 * times);
            goals.addTiming(times == 1 ? small : large,
                            {.body = [=] { warp->oneThread(); }, .units = static_cast<double>(times * times)});
        }
        goals.addGoal(large, {small}, {1.15, 1.15});
    }
    for (const auto& [pairs, limit] : {std::pair{500, 0.35}, std::pair{2000, 0.25}}) {
        const std::string work = "RansacEst of " + std::to_string(pairs) + " pairs, 30 % outliers";
        if (!goals.wanted(work)) continue;
        const auto estimation = std::make_shared<EstimationWork>(pairs);
        goals.addTiming(work, {[=] { estimation->ours(); }});
        goals.addTiming("OpenCV findHomography " + std::to_string(pairs), {[=] { estimation->openCv(); }});
        goals.addGoal(work, {"OpenCV findHomography " + std::to_string(pairs)}, {limit, limit});
    }
}

}  // namespace eisbench
