// eis-lab stages: its steps against the library's own body.
#include <gtest/gtest.h>

#include <cstring>

#include "highLevel/src/SpatialFilter.h"
#include "host/lab/stages.h"
#include "libCore/core/source/frame/alignment.h"

namespace {

// The last stages are those of the whole: what the page shows is what the library does.
TEST(LabStages, EndWithThePictureOfTheWholePictureBody) {
    eishost::Picture picture(324, 272);
    std::uint32_t noise = 1;
    for (std::vector<std::uint8_t>& plane : picture.planes) {
        for (std::size_t i = 0; i < plane.size(); ++i) {
            noise = noise * 1664525 + 1013904223;
            plane[i] = static_cast<std::uint8_t>(100 + i % 324 / 60 * 20 + (noise >> 28));
        }
    }
    for (const int median : {0, 1}) {
        eishost::DenoiseSettings settings;
        settings.lumaMed = median;
        settings.lumaLF = -80;
        settings.lumaHF1 = -40;
        settings.detail = -85;
        settings.chromaS = -61;
        settings.chromaNrLUT.assign(settings.chromaNrLUT.size(), 100);
        const eislab::StageRun run = eislab::runStages(picture, settings, {40, 40, 200, 160});

        eis::ST_MULTIDENOISE_PARAMS_IN in{eis::DnParamsOf(eishost::denoiseParams(settings))};
        std::uint8_t table[256] = {};
        std::memcpy(table, settings.chromaNrLUT.data(), 4 * settings.chromaNrLUT.size());
        in.stDNParams.pSpatialChromaNrLUT = table;
        eis::ST_MULTIDENOISE_PARAMS_OUT out{{picture.width, picture.height, picture.width, {}, 0}};
        cv::Mat planes[3];
        for (int plane = 0; plane < 3; ++plane) {
            const cv::Mat from = picture.mat(plane);
            planes[plane].create(from.rows, eis::stride128(from.cols), CV_8U);
            from.copyTo(planes[plane].colRange(0, from.cols));
            out.stPicOut.pData[plane] = planes[plane].data;
        }
        ASSERT_EQ(eis::SpatialNrHighLevelNew(&in, &out), retStsOK);
        for (int plane = 0; plane < 3; ++plane) {
            const cv::Mat expected = planes[plane].colRange(0, picture.mat(plane).cols);
            EXPECT_EQ(cv::norm(expected, run.denoised.mat(plane), cv::NORM_INF), 0) << plane << ", median " << median;
            EXPECT_GT(cv::norm(expected, picture.mat(plane), cv::NORM_INF), 0) << plane;
        }
        ASSERT_EQ(run.stages.size(), 15u);
        for (const eislab::Stage& stage : run.stages) EXPECT_EQ(stage.shown.size(), cv::Size(200, 160)) << stage.name;
    }
}

}  // namespace
