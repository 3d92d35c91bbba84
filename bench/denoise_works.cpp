#include <cstring>
#include <memory>
#include <opencv2/imgproc.hpp>
#include <opencv2/photo.hpp>
#include <thread>
#include <vector>

#include "bench/frame.h"
#include "bench/works.h"
#include "highLevel/src/luma/gradient_planes.h"
#include "highLevel/src/luma/recursive_filter.h"
#include "highLevel/src/luma/remix_detail.h"
#include "highLevel/src/luma/shrink_band.h"
#include "include/acore_api.h"
#include "libCore/core/source/control/shrink_lut.h"
#include "libCore/core/source/neon/mask/mask_morphology.h"

namespace eisbench {

namespace {

ST_DN_PARAMS_NEW settings(DeviceAddress mask, DeviceAddress lut) {
    ST_DN_PARAMS_NEW dn{};
    dn.pMaskIIR = mask;
    dn.pSpatialChromaNrLUT = lut;
    dn.iirImgCount = 4;
    dn.lumaLF = -80;
    dn.detail = -60;
    dn.chromaS = -61;
    dn.lumaNrEnable = 1;
    dn.chromaNrEnable = 1;
    dn.chromaEdgeLevel = 65;
    dn.chromaEdgeAlpha = 192;
    return dn;
}

// One frame, its blocks and what its kernels need. Entries work in place, so each run denoises what the last one left.
struct DenoiseWork {
    DenoiseWork(int width, int height)
        : frame(width, height),
          copy(frame.bytes().size()),
          mask(static_cast<size_t>(frame.stride()) * height, 128),
          lut(256),
          scratch(static_cast<size_t>(chromaScratchSize(width, height))),
          wide(static_cast<size_t>(width) * height),
          wideTmp(wide.size()),
          planes(wide.size()),
          lineState(static_cast<size_t>(width)) {
        frame.fill(4);
        // As a row of the shipped tuning file.
        constexpr uint32_t kWords[] = {256, 77, 23, 7, 2};
        for (size_t i = 0; i < 40; ++i) std::memcpy(&lut[4 * i], &kWords[i / 4 % 5], 4);
        dn = settings(deviceAddress(mask.data()), deviceAddress(lut.data()));
        in.stDNParams = dn;
        out.stPicOut = {width,
                        height,
                        frame.stride(),
                        {deviceAddress(frame.plane(0)), deviceAddress(frame.plane(1)), deviceAddress(frame.plane(2))},
                        2};
        for (size_t i = 0; i < wide.size(); ++i) wide[i] = frame.bytes()[i];
        eis::BuildRecursiveLut(follow, 20, 5000);
        eis::BuildShrinkLut(shrink, 128);
    }

    void highLevel() {
        const ST_SPATIAL_NR_CALL_BLOCK block{deviceAddress(&in), deviceAddress(&out)};
        benchmark::DoNotOptimize(SpatialNrHLMain_ACoreApi(&block));
    }

    template <class Entry>
    void chroma(Entry entry) {
        const ST_CHROMA_CALL_BLOCK block{deviceAddress(&dn),
                                         deviceAddress(scratch.data()),
                                         static_cast<int32_t>(scratch.size()),
                                         frame.width(),
                                         frame.height(),
                                         frame.stride(),
                                         deviceAddress(frame.plane(1)),
                                         deviceAddress(frame.plane(2))};
        benchmark::DoNotOptimize(entry(&block));
    }

    void chromaHighLevel() { chroma(ChromaHighLevelMainCall_2); }

    void openCvDenoise() {
        cv::Mat bgr(frame.height(), frame.width(), CV_8UC3, cv::Scalar(90, 120, 100));
        cv::fastNlMeansDenoisingColored(bgr, bgr, 3, 3, 7, 21);
    }

    void recursion() {
        const eis::RecursiveFilterArgs args{lineState.data(),
                                            follow,
                                            follow,
                                            follow + eis::kRecursiveLutEntries,
                                            wide.data(),
                                            frame.width(),
                                            wide.data(),
                                            frame.width(),
                                            frame.width() / 2,
                                            frame.height() / 2};
        eis::RecursiveLLForward(&args);
        eis::RecursiveLLBackward(&args);
    }

    void shrinkBand() {
        const eis::ShrinkBandArgs args{wide.data() + frame.width() / 2,
                                       frame.width(),
                                       planes.data(),
                                       frame.width() / 2,
                                       frame.width() / 2,
                                       frame.height() / 2,
                                       shrink,
                                       50,
                                       614};
        eis::ShrinkDetailBand(&args);
    }

    void remix() {
        const eis::RemixDetailArgs args{frame.plane(0), planes.data(),  planes.data(), frame.width(),
                                        frame.height(), frame.stride(), 130,           76};
        eis::RemixDetail(&args);
    }

    Frame frame;
    std::vector<uint8_t> copy;
    std::vector<uint8_t> mask;
    std::vector<uint8_t> lut;
    std::vector<uint8_t> scratch;
    std::vector<int16_t> wide;
    std::vector<int16_t> wideTmp;
    std::vector<uint8_t> planes;
    std::vector<int32_t> lineState;
    int16_t follow[2 * eis::kRecursiveLutEntries];
    int16_t shrink[1024];
    ST_DN_PARAMS_NEW dn{};
    ST_MULTIDENOISE_PARAMS_IN_DEV in{};
    ST_MULTIDENOISE_PARAMS_OUT_DEV out{};
};

// Masks of a picture, rows without gaps. Ours works in place, on what the last run left.
struct DilationWork {
    DilationWork(int w, int h) : frame(w, h), picture(h, w, CV_8UC1), mask(h, w, CV_8UC1), scratch(mask.total()) {
        frame.fill(4);
        for (int y = 0; y < h; ++y) {
            std::memcpy(picture.ptr(y), frame.plane(0) + int64_t{y} * frame.stride(), static_cast<size_t>(w));
        }
        picture.copyTo(mask);
    }

    void ours() {
        benchmark::DoNotOptimize(eis::MaskBinarizeDilate_r3(mask.data, mask.cols, mask.rows, 150, scratch.data()));
    }
    void openCv() {
        cv::threshold(picture, dilated, 149, 255, cv::THRESH_BINARY);
        cv::dilate(dilated, dilated, kernel);
    }

    Frame frame;
    cv::Mat picture, mask, dilated;
    std::vector<uint8_t> scratch;
    cv::Mat kernel = cv::Mat::ones(7, 7, CV_8UC1);
};

void addEntries(int width, int height) {
    const auto work = std::make_shared<DenoiseWork>(width, height);
    const std::string size = sizeName(width, height);
    const auto copyPlanes = [=] {
        std::memcpy(work->copy.data(), work->frame.bytes().data(), work->copy.size());
        benchmark::ClobberMemory();
    };
    addRow("denoise luma and chroma " + size, "eis", [=] { work->highLevel(); });
    addRow("denoise luma and chroma " + size, "memcpy of the planes", copyPlanes);
    if (width <= 1920) {
        addRow("denoise luma and chroma " + size, "OpenCV fastNlMeansDenoisingColored", [=] { work->openCvDenoise(); });
    }
    addRow("denoise chroma, high level " + size, "eis", [=] { work->chroma(ChromaHighLevelMainCall_2); });
    addRow("denoise chroma, high level " + size, "memcpy of the planes", copyPlanes);
    addRow("denoise chroma, low level " + size, "eis", [=] { work->chroma(ChromaLowLevelMainCall_2); });
    addRow("denoise chroma, low level " + size, "memcpy of the planes", copyPlanes);
}

// The pieces, each beside a copy of the frame.
void addPieces(int width, int height) {
    const auto work = std::make_shared<DenoiseWork>(width, height);
    const auto addPiece = [=](const std::string& piece, auto body) {
        addRow(piece, "eis", body);
        addRow(piece, "memcpy of the planes", [=] {
            std::memcpy(work->copy.data(), work->frame.bytes().data(), work->copy.size());
            benchmark::ClobberMemory();
        });
    };
    addPiece("low-band recursion, both passes", [=] { work->recursion(); });
    addPiece("gradient planes",
             [=] { eis::GradientPlanes(work->wide.data(), work->planes.data(), width / 2, height / 2, width, 10); });
    addPiece("shrink of a detail band", [=] { work->shrinkBand(); });
    addPiece("detail re-mix", [=] { work->remix(); });
    const auto dilation = std::make_shared<DilationWork>(width / 4, height / 4);
    addRow("threshold and 7x7 dilation, quarter size", "eis", [=] { dilation->ours(); });
    addRow("threshold and 7x7 dilation, quarter size", "OpenCV threshold and dilate", [=] { dilation->openCv(); });
}

}  // namespace

void registerDenoiseWorks() {
    addEntries(1920, 1088);
    addEntries(4000, 3008);
    addPieces(4000, 3008);
}

std::string addFrameCopy(Goals& goals, int cores) {
    const auto from = std::make_shared<Frame>(4000, 3000);
    const auto to = std::make_shared<Frame>(4000, 3000);
    const auto copyPart = [=](int part) {
        const size_t bytes = from->bytes().size() / cores;
        std::memcpy(to->bytes().data() + part * bytes, from->bytes().data() + part * bytes, bytes);
        benchmark::ClobberMemory();
    };
    std::string name = cores == 1 ? "copy of a 4000x3000 frame" : "copy of a 4000x3000 frame on two threads";
    if (cores == 1) {
        goals.addTiming(name, {[=] { copyPart(0); }});
    } else {
        goals.addTiming(name, {[=] {
                                   std::thread other(copyPart, 1);
                                   copyPart(0);
                                   other.join();
                               },
                               Clock::kWall, cores});
    }
    return name;
}

void addDenoiseGoals(Goals& goals) {
    const std::string dilation = "threshold and 7x7 dilation 1000x750";
    if (goals.wanted(dilation)) {
        const auto work = std::make_shared<DilationWork>(1000, 750);
        goals.addTiming(dilation, {[=] { work->ours(); }});
        goals.addTiming("OpenCV " + dilation, {[=] { work->openCv(); }});
        goals.addGoal(dilation, {"OpenCV " + dilation}, {0.20, 0.30});
    }
    const auto addCopyGoal = [&](const std::string& name, int cores, void (DenoiseWork::*body)(), Limits limits) {
        if (!goals.wanted(name)) return;
        const auto work = std::make_shared<DenoiseWork>(4000, 3008);
        const Clock clock = cores == 1 ? Clock::kProcessCpu : Clock::kWall;
        goals.addTiming(name, {[=] { (*work.*body)(); }, clock, cores});
        goals.addGoal(name, {addFrameCopy(goals, cores)}, limits);
    };
    addCopyGoal("denoise luma and chroma 4000x3008", 1, &DenoiseWork::highLevel, {13, 18});
    addCopyGoal("denoise luma and chroma 4000x3008, two cores", 2, &DenoiseWork::highLevel, {15, 20});
    addCopyGoal("denoise chroma, high level 4000x3008", 1, &DenoiseWork::chromaHighLevel, {3, 4});
    const std::string large = "denoise at 108 MP, a pixel";
    if (!goals.wanted(large)) return;
    const std::string small = "denoise at 12 MP, a pixel";
    for (const int times : {1, 3}) {
        const auto work = std::make_shared<DenoiseWork>(4000 * times, times == 1 ? 3008 : 9008);
        goals.addTiming(times == 1 ? small : large, {[=] { work->highLevel(); }, Clock::kProcessCpu, 1,
                                                     work->frame.width() * 1e-6 * work->frame.height()});
    }
    goals.addGoal(large, {small}, {1.15, 1.15});
}

}  // namespace eisbench
