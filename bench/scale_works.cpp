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

void addScale(int srcW, int srcH, int dstW, int dstH) {
    const auto from = std::make_shared<Frame>(srcW, srcH);
    const auto to = std::make_shared<Frame>(dstW, dstH);
    from->fill(1);
    const std::string work = "scale " + std::to_string(srcW) + "x" + std::to_string(srcH) + " to " +
                             std::to_string(dstW) + "x" + std::to_string(dstH);
    const ST_SCALE_BLOCK block{dstW,
                               dstH,
                               to->stride(),
                               srcW,
                               srcH,
                               from->stride(),
                               2,
                               deviceAddress(from->plane(0)),
                               deviceAddress(from->plane(1)),
                               deviceAddress(to->plane(0)),
                               deviceAddress(to->plane(1))};
    addRow(work, "eis", [=] { benchmark::DoNotOptimize(Scale_Bilinear_AcoreAPI(&block)); });
    addRow(work, "libyuv bilinear", [=] { scaleWithLibyuv(*from, *to, libyuv::kFilterBilinear); });
    addRow(work, "libyuv box", [=] { scaleWithLibyuv(*from, *to, libyuv::kFilterBox); });
    addRow(work, "OpenCV resize linear", [=] {
        for (int i = 0; i < 3; ++i) {
            cv::Mat out = planeMat(*to, i);
            cv::resize(planeMat(*from, i), out, out.size(), 0, 0, cv::INTER_LINEAR);
        }
    });
    addRow(work, "memcpy of the source", [=] {
        static std::vector<uint8_t> copy;
        copy.resize(from->bytes().size());
        std::memcpy(copy.data(), from->bytes().data(), copy.size());
        benchmark::ClobberMemory();
    });
}

}  // namespace

void registerScaleWorks() {
    addScale(4000, 3000, 1920, 1440);
    addScale(4000, 3000, 2000, 1500);
    addScale(1920, 1080, 3840, 2160);
    addScale(1280, 720, 1000, 562);
}

}  // namespace eisbench
