#include "host/lab/stages.h"

#include <array>
#include <cstring>
#include <opencv2/imgproc.hpp>

#include "highLevel/src/chroma/chroma_pass.h"
#include "highLevel/src/luma/lifting53.h"
#include "highLevel/src/luma/luma_pass.h"
#include "host/program/exit_codes.h"
#include "libCore/core/source/frame/alignment.h"

namespace eislab {

namespace {

using eishost::Picture;

constexpr double kDetailGain = 6;
constexpr double kDifferenceGain = 8;
constexpr double kGradientGain = 4;
constexpr double kChromaGain = 2;  // of colour around grey
constexpr int kGrey = 128;

// The part of a plane at 1/`scale` of the picture's size, enlarged to the area's own.
cv::Mat shownAt(const cv::Mat& plane, const cv::Rect& area, int scale) {
    const cv::Rect part(area.x / scale, area.y / scale, area.width / scale, area.height / scale);
    cv::Mat large;
    cv::resize(plane(part), large, area.size(), 0, 0, cv::INTER_NEAREST);
    return large;
}

// Chroma alone, on mid grey.
cv::Mat colourOf(const cv::Mat& u, const cv::Mat& v) {
    Picture picture(2 * u.cols, 2 * u.rows);
    picture.mat(0) = kGrey;
    cv::Mat planes[] = {picture.mat(1), picture.mat(2)};
    u.convertTo(planes[0], CV_8U, kChromaGain, kGrey * (1 - kChromaGain));
    v.convertTo(planes[1], CV_8U, kChromaGain, kGrey * (1 - kChromaGain));
    return eishost::bgrFromPicture(picture);
}

struct Split {
    cv::Mat low;     // 16-bit, half size
    cv::Mat detail;  // 8-bit, half size: the largest of three bands' magnitudes, enlarged by kDetailGain
};

Split splitOf(const cv::Mat& luma) {
    cv::Mat plane;
    luma.convertTo(plane, CV_16S);
    cv::Mat spare(plane.size(), CV_16S);
    eis::Lifting53Forward(plane.ptr<std::int16_t>(), plane.cols, plane.rows, plane.cols, spare.ptr<std::int16_t>());
    const int w = plane.cols / 2;
    const int h = plane.rows / 2;
    Split split{plane({0, 0, w, h}).clone(), {}};
    cv::Mat most = cv::abs(plane({w, h, w, h}));
    for (const cv::Rect& band : {cv::Rect(w, 0, w, h), cv::Rect(0, h, w, h)}) {
        most = cv::max(most, cv::Mat(cv::abs(plane(band))));
    }
    most.convertTo(split.detail, CV_8U, kDetailGain);
    return split;
}

// A picture in the passes' layout, with all that they work in.
class Passes {
  public:
    Passes(const Picture& picture, const eishost::DenoiseSettings& settings)
        : width_(picture.width),
          height_(picture.height),
          params_(eis::DnParamsOf(eishost::denoiseParams(settings))),
          lumaBlock_(static_cast<std::size_t>(eis::ComputeLumaScratch(width_, height_).inOneBlock())),
          chromaBlock_(static_cast<std::size_t>(eis::chromaBandScratchSize(width_, height_)) / 2 + 1),
          scratch_(eis::CutLumaScratch(lumaBlock_.data(), width_, height_)) {
        for (int plane = 0; plane < 3; ++plane) {
            const cv::Mat from = picture.mat(plane);
            planes_[plane].create(from.rows, eis::stride128(from.cols), CV_8U);
            from.copyTo(planes_[plane].colRange(0, from.cols));
        }
        std::memcpy(table_.data(), settings.chromaNrLUT.data(), settings.chromaNrLUT.size() * 4);
        params_.pSpatialChromaNrLUT = table_.data();
        whole_ = eis::WholePicture(params_,
                                   {width_, height_, width_, {planes_[0].data, planes_[1].data, planes_[2].data}, 2});
    }
    // The passes' records refer to what is in here.
    Passes(const Passes&) = delete;
    Passes& operator=(const Passes&) = delete;

    cv::Mat plane(int index) const { return planes_[index].colRange(0, index == 0 ? width_ : width_ / 2).clone(); }
    cv::Mat low() const { return cv::Mat(height_ / 2, width_ / 2, CV_16S, scratch_.nrWide).clone(); }
    cv::Mat gradients() const { return quarter(scratch_.gradQuarter); }
    cv::Mat detailMap() const { return quarter(scratch_.mapQuarter); }
    cv::Mat quarter(std::uint8_t* samples) const { return cv::Mat(height_ / 4, width_ / 4, CV_8U, samples).clone(); }

    void smoothLowBand() {
        const eis::LumaPassParams params = luma();
        eis::SplitLuma(params);
        eis::SmoothLuma(params);
        eis::BuildDetailMap(params);
    }

    // Luma with the low band smoothed and the details shrunk, and none of the input put back.
    cv::Mat withoutTexture() {
        const cv::Mat before = planes_[0].clone();
        eis::LumaPassParams params = luma();
        params.settings.map.mixGain = 0;
        eis::MergeLuma(params);
        cv::Mat merged = plane(0);
        before.copyTo(planes_[0]);
        return merged;
    }
    void mergeLuma() { eis::MergeLuma(luma()); }

    eis::ChromaPassParams runChroma() {
        auto* block = reinterpret_cast<std::uint8_t*>(chromaBlock_.data());
        const eis::ChromaPassParams params{whole_, eis::kChromaHighLevel,
                                           eis::CutChromaScratch(block, whole_, eis::kChromaHighLevel),
                                           scratch_.gradQuarter};
        if (eis::RunChromaPass(params) != retStsOK) {
            throw eishost::HostError(eishost::kExitLibrary, "the chroma pass has no memory");
        }
        eis::WriteChroma(params);
        return params;
    }

  private:
    eis::LumaPassParams luma() const { return {whole_, eis::ComputeLumaSettings(params_), scratch_}; }

    int width_;
    int height_;
    eis::ST_DN_PARAMS_VA params_;
    cv::Mat planes_[3];
    std::vector<std::uint8_t> lumaBlock_;
    std::vector<std::uint16_t> chromaBlock_;
    std::array<std::uint8_t, 256> table_{};
    eis::LumaScratch scratch_;
    eis::ST_NR_BAND_PARAMS whole_{};
};

}  // namespace

StageRun runStages(const Picture& picture, const eishost::DenoiseSettings& settings, const cv::Rect& area) {
    StageRun run;
    const auto add = [&](const char* name, const char* title, const char* text, const cv::Mat& plane, int scale) {
        cv::Mat bytes = plane;
        if (plane.depth() != CV_8U) plane.convertTo(bytes, CV_8U);
        run.stages.push_back({name, title, text, shownAt(bytes, area, scale)});
    };
    Passes passes(picture, settings);
    const Split before = splitOf(passes.plane(0));
    passes.smoothLowBand();
    const cv::Mat low = passes.low();
    const cv::Mat merged = passes.withoutTexture();
    cv::Mat taken;
    cv::subtract(before.low, low, taken);
    taken.convertTo(taken, CV_8U, kDifferenceGain, kGrey);

    add("luma-in", "Luma", "as it comes.", passes.plane(0), 1);
    add("low-in", "Low band", "of the 5/3 split, half size.", before.low, 2);
    add("low-out", "Low band, smoothed", "by the recursive filter, which stops at edges (lumaLF).", low, 2);
    add("low-taken", "What that took", "eight times, around grey: it should look like noise, not like the picture.",
        taken, 2);
    add("detail-in", "Details", "the largest of the three detail bands, six times.", before.detail, 2);
    add("gradient", "Gradients", "of the smoothed low band, four times: where they are strong, details stay.",
        passes.gradients() * kGradientGain, 4);
    add("detail-out", "Details, shrunk", "small ones go (lumaHF1), those at edges stay; six times.",
        splitOf(merged).detail, 2);
    add("merged", "Luma, joined", "from both, before any texture comes back.", merged, 1);
    add("texture", "Detail map", "how much of the input comes back here (detail).", passes.detailMap(), 4);
    passes.mergeLuma();
    add("luma-out", "Luma, done", "with texture.", passes.plane(0), 1);

    const cv::Mat colour = colourOf(passes.plane(1), passes.plane(2));
    const eis::ChromaPassParams chroma = passes.runChroma();
    const eis::ChromaScratch& s = chroma.scratch;
    add("chroma-in", "Chroma", "as it comes, on grey and twice as strong.", colour, 1);
    add("chroma-quarter", "Chroma at quarter size", "where it is denoised.",
        colourOf(passes.quarter(s.uQuarter), passes.quarter(s.vQuarter)), 2);
    add("chroma-edges", "Chroma edges", "white: kept nearer to the input (chromaEdgeAlpha).", passes.quarter(s.edgeMap),
        4);
    add("chroma-denoised", "Chroma at quarter size, denoised", "by wavelet shrinkage (chromaS, chromaNrLUT).",
        colourOf(passes.quarter(s.uQuarterDn), passes.quarter(s.vQuarterDn)), 2);
    add("chroma-out", "Chroma, done", "enlarged again.", colourOf(passes.plane(1), passes.plane(2)), 1);

    run.denoised = Picture(picture.width, picture.height);
    run.denoised.range = picture.range;
    for (int plane = 0; plane < 3; ++plane) passes.plane(plane).copyTo(run.denoised.mat(plane));
    return run;
}

}  // namespace eislab
