#include "libCore/core/source/neon/wavelet/wavelet_shrink.h"

#include <vector>

#include "tests/chroma_kernels/wavelet_record.h"

namespace eis::test {
namespace {

using Samples = std::vector<int16_t>;
using Map = std::vector<uint16_t>;

TEST(WaveletMap, FormsAgree) {
    CaseDigest all;
    forEachCase([&](const KernelCase& c) {
        const WaveletInputs inputs(c);
        const WaveletPlanes planes(c);
        WaveletMaskMap_plain(inputs.record(c, planes, true));
        WaveletMaskMap_neon(inputs.record(c, planes, false));
        EXPECT_TRUE(planes.agree());
        all.add(c, planes.thresholds.plain);
        WaveletMotionMap_plain(inputs.record(c, planes, true));
        WaveletMotionMap_neon(inputs.record(c, planes, false));
        EXPECT_TRUE(planes.agree());
        all.add(c, planes.thresholds.plain);
    });
    EXPECT_EQ(all.value(), 4433053903869305831u);
}

// Nine columns: eight of a block, one of a tail.
ST_WAVELET_DN_PARAMS nineColumns() {
    ST_WAVELET_DN_PARAMS record{};
    record.width = record.sampleStride = 9;
    record.height = 1;
    record.chromaThrBase = 2048;
    record.edgeHigh = 30;
    record.edgeLow = 15;
    record.shrinkLow = 76;
    record.shrinkHigh = 327;
    return record;
}

Samples blockAndTail(int block, int tail) {
    Samples samples(9, static_cast<int16_t>(block));
    samples[8] = static_cast<int16_t>(tail);
    return samples;
}

TEST(WaveletMap, FallsOnEdges) {
    const std::vector<uint8_t> edges{0, 15, 16, 20, 29, 30, 31, 255, 30};
    Map map(9);
    ST_WAVELET_DN_PARAMS record = nineColumns();
    record.pEdgeMap = edges.data();
    record.pThresholds = map.data();
    // A step of 2048 / 15 = 136 for each level of edge strength.
    const Map expected{4096, 4096, 3960, 3416, 2192, 2056, 2056, 2056, 2056};
    WaveletMaskMap_neon(record);
    EXPECT_EQ(map, expected);

    // A mask of six bits: at its top the edge counts in full, at 0 half of it. In the tail the map is multiplied by 6
    // less the mask's upper four bits.
    record.levelShift = 6;
    const std::vector<uint8_t> top(9, 63);
    record.pMaskQuarter = top.data();
    WaveletMotionMap_neon(record);
    EXPECT_EQ(Map(map.begin(), map.end() - 1), Map(expected.begin(), expected.end() - 1));
    EXPECT_EQ(map[8], 2056 * 3);
    const std::vector<uint8_t> none(9, 0);
    record.pMaskQuarter = none.data();
    WaveletMotionMap_neon(record);
    // (68 * 63 + 32) >> 6 = 67 of the step of 136 goes.
    EXPECT_EQ(map, (Map{4096, 4096, 4027, 3751, 3130, 3061, 3061, 3061, 3061 * 6}));

    record.edgeHigh = record.edgeLow;
    WaveletMaskMap_neon(record);
    EXPECT_EQ(map, Map(9, 4096));
}

TEST(WaveletShrink, CurveByHand) {
    // satGain 40, word 100, map 4096: a threshold of 1000, of which 990 is taken off. Block columns and the tail
    // column.
    std::vector<uint32_t> words(40, 0);
    for (int bin = 0; bin < 4; ++bin) words[bin] = words[4 + bin] = 100;
    const Map map(9, 4096);
    ST_WAVELET_DN_PARAMS record = nineColumns();
    record.satGain = 40;
    record.pThresholds = const_cast<uint16_t*>(map.data());
    record.pChromaLut = reinterpret_cast<const uint8_t*>(words.data());
    const Samples low(9, 5000);
    const int details[] = {1200, 1000, -1200, 50, 76, -76, -1000, 0};
    const int first[] = {210, 10, -210, 50, 1, -1, -10, 0};
    const int firstTail[] = {206, 10, -206, 50, 76, -76, -10, 0};
    const int second[] = {210, 10, -210, 0, 1, -1, -10, 0};
    const int secondTail[] = {206, 10, -206, 0, 1, -1, -10, 0};
    for (int i = 0; i < 8; ++i) {
        const Samples high(9, static_cast<int16_t>(5000 + details[i]));
        Samples samples = high;
        record.pSamples = samples.data();
        WaveletShrinkLevel_plain(record, 1, 1, nullptr, low.data());
        EXPECT_EQ(samples, blockAndTail(first[i], firstTail[i])) << details[i];
        samples.assign(9, 30000);
        WaveletShrinkLevel_plain(record, 1, 2, high.data(), low.data());
        EXPECT_EQ(samples, blockAndTail(30000 + second[i], 30000 + secondTail[i])) << details[i];
    }

    // Without strength the details of level 2 keep their slope (in the tail less the 4), and those of level 1 lose the
    // floor's 75.
    record.satGain = 0;
    Samples high(9, 5100);
    Samples samples(9, 0);
    record.pSamples = samples.data();
    WaveletShrinkLevel_plain(record, 1, 2, high.data(), low.data());
    EXPECT_EQ(samples, blockAndTail(100, 96));
    record.pSamples = high.data();
    WaveletShrinkLevel_plain(record, 1, 1, nullptr, low.data());
    EXPECT_EQ(high, Samples(9, 25));
}

TEST(WaveletShrink, WordFollowsPassLevelAndBrightness) {
    std::vector<uint32_t> words(40);
    for (uint32_t i = 0; i < 40; ++i) words[i] = 100 + 40 * i;
    const Map map(9, 4096);
    ST_WAVELET_DN_PARAMS record = nineColumns();
    record.satGain = 4;  // the threshold is the word
    record.pThresholds = const_cast<uint16_t*>(map.data());
    record.pChromaLut = reinterpret_cast<const uint8_t*>(words.data());
    const Samples low{-5, 0, 8191, 8192, 16383, 16384, 24575, 24576, 20000};
    const int bins[] = {0, 0, 0, 1, 1, 2, 2, 3, 2};
    for (const int pass : {1, 2}) {
        for (int level = 2; level <= 5; ++level) {
            Samples high(9);
            for (int i = 0; i < 9; ++i) high[i] = static_cast<int16_t>(low[i] + 4000);
            Samples samples(9, 0);
            record.pSamples = samples.data();
            WaveletShrinkLevel_plain(record, pass, level, high.data(), low.data());
            for (int i = 0; i < 9; ++i) {
                const int word = 100 + 40 * (20 * (pass - 1) + 4 * (level - 1) + bins[i]);
                const int soft = ((word + (i == 8 ? 4 : 0)) * (32768 - 327) + 16384) >> 15;
                EXPECT_EQ(samples[i], 4000 - soft) << "pass " << pass << ", level " << level << ", column " << i;
            }
        }
    }
}

}  // namespace
}  // namespace eis::test
