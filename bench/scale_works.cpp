#include <libyuv.h>

#include <cstring>
#include <memory>
#include <opencv2/imgproc.hpp>

#include "bench/frame.h"
#include "bench/works.h"
#include "include/acore_api.h"

namespace eisbench {

namespace {

cv::Mat planeMat(Frame& frame, int i) {
    const int shift = i == 0 ? 0 : 1;
    return cv::Mat(frame.height() >> shift, frame.width() >> shift, CV_8UC1, frame.plane(i),
                   i == 0 ? frame.stride() : frame.chromaStride());
}

void scaleWithLibyuv(Frame& from, Frame& to, libyuv::FilterMode filter) {
    libyuv::I420Scale(from.plane(0), from.stride(), from.plane(1), from.chromaStride(), from.plane(2),
                      from.chromaStride(), from.width(), from.height(), to.plane(0), to.stride(), to.plane(1),
                      to.chromaStride(), to.plane(2), to.chromaStride(), to.width(), to.height(), filter);
}

struct ScaleWork {
    ScaleWork(int srcW, int srcH, int dstW, int dstH)
        : from(srcW, srcH),
          to(dstW, dstH),
          block{dstW,
                dstH,
                to.stride(),
                srcW,
                srcH,
                from.stride(),
                2,
                deviceAddress(from.plane(0)),
                deviceAddress(from.plane(1)),
                deviceAddress(to.plane(0)),
                deviceAddress(to.plane(1))} {
        from.fill(1);
    }

    void ours() { benchmark::DoNotOptimize(Scale_Bilinear_AcoreAPI(&block)); }
    void bilinear() { scaleWithLibyuv(from, to, libyuv::kFilterBilinear); }
    void box() { scaleWithLibyuv(from, to, libyuv::kFilterBox); }
    void openCv() {
        for (int i = 0; i < 3; ++i) {
            cv::Mat out = planeMat(to, i);
            cv::resize(planeMat(from, i), out, out.size(), 0, 0, cv::INTER_LINEAR);
        }
    }

    Frame from;
    Frame to;
    ST_SCALE_BLOCK block;
};

std::string scaleName(int srcW, int srcH, int dstW, int dstH) {
    return "scale " + sizeName(srcW, srcH) + " to " + sizeName(dstW, dstH);
}

void addScale(int srcW, int srcH, int dstW, int dstH) {
    const auto scale = std::make_shared<ScaleWork>(srcW, srcH, dstW, dstH);
    const std::string work = scaleName(srcW, srcH, dstW, dstH);
    addRow(work, "eis", [=] { scale->ours(); });
    addRow(work, "libyuv bilinear", [=] { scale->bilinear(); });
    addRow(work, "libyuv box", [=] { scale->box(); });
    addRow(work, "OpenCV resize linear", [=] { scale->openCv(); });
    addRow(work, "memcpy of the source", [=] {
        static std::vector<uint8_t> copy;
        copy.resize(scale->from.bytes().size());
        std::memcpy(copy.data(), scale->from.bytes().data(), copy.size());
        benchmark::ClobberMemory();
    });
}

enum class Peer { kOpenCv, kLibyuv };

struct Ratio {
    int srcW;
    int srcH;
    int dstW;
    int dstH;
};

void addScaleGoal(Goals& goals, const Ratio& ratio, Peer peer, Limits limits) {
    const std::string work = scaleName(ratio.srcW, ratio.srcH, ratio.dstW, ratio.dstH);
    if (!goals.wanted(work)) return;
    const auto scale = std::make_shared<ScaleWork>(ratio.srcW, ratio.srcH, ratio.dstW, ratio.dstH);
    goals.addTiming(work, {[=] { scale->ours(); }});
    if (peer == Peer::kOpenCv) {
        goals.addTiming("OpenCV " + work, {[=] { scale->openCv(); }});
        goals.addGoal(work, {"OpenCV " + work}, limits);
    } else {
        goals.addTiming("libyuv box " + work, {[=] { scale->box(); }});
        goals.addTiming("libyuv bilinear " + work, {[=] { scale->bilinear(); }});
        goals.addGoal(work, {"libyuv box " + work, "libyuv bilinear " + work}, limits);
    }
}

}  // namespace

void registerScaleWorks() {
    addScale(4000, 3000, 1920, 1440);
    addScale(4000, 3000, 2000, 1500);
    addScale(1920, 1080, 3840, 2160);
    addScale(1280, 720, 1000, 562);
}

void addScaleGoals(Goals& goals) {
    addScaleGoal(goals, {4000, 3000, 1920, 1440}, Peer::kOpenCv, {0.30, 0.55});
    addScaleGoal(goals, {4000, 3000, 2000, 1500}, Peer::kLibyuv, {0.60, 0.90});
    addScaleGoal(goals, {1920, 1080, 3840, 2160}, Peer::kLibyuv, {0.80, 1.0});
    addScaleGoal(goals, {1280, 720, 1000, 562}, Peer::kOpenCv, {0.30, 0.50});
    const std::string large = "scale at 108 MP, a pixel";
    if (!goals.wanted(large)) return;
    const std::string small = "scale at 12 MP, a pixel";
    for (const int times : {1, 3}) {
        const auto scale = std::make_shared<ScaleWork>(4000 * times, 3000 * times, 1920 * times, 1440 * times);
        goals.addTiming(times == 1 ? small : large,
                        {.body = [=] { scale->ours(); }, .units = static_cast<double>(times * times)});
    }
    goals.addGoal(large, {small}, {1.15, 1.15});
}

}  // namespace eisbench
