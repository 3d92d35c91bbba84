#include "libCore/core/source/neon/ghost/ghost_filter.h"

#include <vector>

#include "tests/harness/kernel_cases.h"

namespace eis::test {
namespace {

using Weights = std::vector<int>;

TEST(GhostFilter, FormsAgree) {
    constexpr int32_t kThresholds[] = {8, 0, 1, 20, -1, 3, 255, INT32_MIN, INT32_MAX, 70000};
    constexpr int32_t kNoise[] = {128, 0, 255, 256, -5, 100, INT32_MAX, INT32_MIN};
    CaseDigest all;
    forEachCase([&](const KernelCase& c) {
        const int width = c.width + 5;
        const int height = c.height + 5;
        const auto a = c.bytes(width, height, width, 1);
        // Differences over the whole range on some cases, near the thresholds on others.
        const auto b = c.bytes(width, height, width, c.seed % 2 == 0 ? 2 : 1);
        for (int i = 0; i < width * height && c.seed % 2 == 1; i += 3) b.data()[i] ^= i % 32;
        const GhostThresholds thresholds{kThresholds[c.seed % 10], kThresholds[c.seed / 3 % 10], kNoise[c.seed % 8]};
        const auto scratch = c.empty<int16_t>(width, height, width);
        const auto plain = c.empty<uint8_t>(width, height, width);
        const auto vectors = c.empty<uint8_t>(width, height, width);
        GhostFilter_plain(a.data(), b.data(), scratch.data(), plain.data(), width, height, thresholds);
        GhostFilter_neon(a.data(), b.data(), scratch.data(), vectors.data(), width, height, thresholds);
        EXPECT_TRUE(agree(plain, vectors));
        EXPECT_TRUE(scratch.paddingIntact());
        all.add(c, vectors);
    });
    EXPECT_EQ(all.value(), 0x2e94b659f289b358u);
}

// The size of the filtered difference along row `y`, or down column `x` for a y below 0: each threshold that it exceeds
// counts.
Weights filtered(const std::vector<uint8_t>& a, int width, int height, int x, int y) {
    const std::vector<uint8_t> b(a.size(), 0);
    std::vector<int16_t> scratch(a.size());
    std::vector<uint8_t> mask(a.size());
    Weights sizes(y < 0 ? height : width, 0);
    for (int threshold = 0; threshold < 100; ++threshold) {
        GhostFilter_neon(a.data(), b.data(), scratch.data(), mask.data(), width, height, {threshold, threshold, 0});
        for (size_t i = 0; i < sizes.size(); ++i) sizes[i] += mask[y < 0 ? i * width + x : y * width + i] / 255;
    }
    return sizes;
}

// A difference of 64 over one column, or one row, shows the weight that it has in each other.
Weights weightsOfColumn(int column, int width) {
    std::vector<uint8_t> a(width * 8, 0);
    for (int y = 0; y < 8; ++y) a[y * width + column] = 64;
    return filtered(a, width, 8, 0, 3);
}

Weights weightsOfRow(int row, int height) {
    std::vector<uint8_t> a(13 * height, 0);
    for (int x = 0; x < 13; ++x) a[row * 13 + x] = 64;
    return filtered(a, 13, height, 6, -1);
}

TEST(GhostFilter, Weights) {
    // From the first to the last sample of a line of 13, in each output.
    const Weights kRow[] = {{20, 15, 6, 1},
                            {30, 20, 15, 6, 1},
                            {12, 15, 20, 15, 6, 1},
                            {2, 12, 15, 20, 15, 6, 1},
                            {0, 2, 6, 15, 20, 15, 6, 1},
                            {0, 0, 2, 6, 15, 20, 15, 6, 1}};
    for (int at = 0; at < 6; ++at) {
        SCOPED_TRACE(at);
        Weights expected = kRow[at];
        expected.resize(13);
        EXPECT_EQ(weightsOfRow(at, 13), expected);
        EXPECT_EQ(weightsOfRow(12 - at, 13), Weights(expected.rbegin(), expected.rend()));
        // Columns are the same but for the fifth sample's weight in the second.
        EXPECT_EQ(weightsOfColumn(12 - at, 13), Weights(expected.rbegin(), expected.rend()));
        if (at == 4) expected[1] = 12;
        EXPECT_EQ(weightsOfColumn(at, 13), expected);
    }
    Weights flat(13, 64);
    flat[1] = 74;
    EXPECT_EQ(filtered(std::vector<uint8_t>(13 * 9, 64), 13, 9, 0, 4), flat);
}

// At a width of 6 + 8n the last three columns are centred one further right, and take in what follows the row.
TEST(GhostFilter, LastColumnsReadOn) {
    EXPECT_EQ(weightsOfColumn(13, 14), (Weights{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 15, 20, 30}));
    EXPECT_EQ(weightsOfColumn(12, 14), (Weights{0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 6, 20, 15, 12}));
    std::vector<uint8_t> a(14 * 8, 0);
    a[14 * 4] = 64;  // the first sample of row 4 follows row 3
    EXPECT_EQ(filtered(a, 14, 8, 13, -1), (Weights{0, 3, 4, 6, 4, 1, 0, 0}));
    EXPECT_EQ(weightsOfColumn(0, 14), (Weights{20, 15, 6, 1, 0, 0, 0, 0, 0, 0, 0, 6, 15, 20}));
    // After the last row comes no difference.
    EXPECT_EQ(filtered(std::vector<uint8_t>(14 * 8, 64), 14, 8, 13, -1), (Weights{64, 64, 64, 64, 63, 62, 59, 57}));
}

TEST(GhostFilter, ThresholdIsExceededAndTheKneeIsExclusive) {
    const std::vector<uint8_t> a(36, 100);
    const std::vector<uint8_t> b(36, 60);
    std::vector<int16_t> scratch(36);
    const struct {
        GhostThresholds thresholds;
        int expected;
    } cases[] = {{{39, 255, 101}, 255}, {{40, 255, 101}, 0}, {{0, 40, 100}, 0},
                 {{255, 39, 100}, 255}, {{0, 39, 101}, 255}, {{-1, 300, 256}, 255}};
    for (const auto& c : cases) {
        std::vector<uint8_t> mask(36, 7);
        GhostFilter_neon(a.data(), b.data(), scratch.data(), mask.data(), 6, 6, c.thresholds);
        EXPECT_EQ(mask[3 * 6 + 2], c.expected);
    }
}

}  // namespace
}  // namespace eis::test
