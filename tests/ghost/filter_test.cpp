#include "libCore/core/source/neon/ghost/ghost_filter.h"

#include "tests/harness/kernel_cases.h"

namespace eis::test {
namespace {

TEST(GhostFilter, FormsAgree) {
    constexpr int32_t kThresholds[] = {8, 0, 1, 20, -1, 3, 255, INT32_MIN, INT32_MAX, 70000};
    constexpr int32_t kNoise[] = {128, 0, 255, 256, -5, 100, INT32_MAX, INT32_MIN};
    expectFormsAgree(0x2e94b659f289b358u, [&](const KernelCase& c, bool plain) {
        const int width = c.width + 5;
        const int height = c.height + 5;
        const auto a = c.bytes(width, height, width, 1);
        // Differences over the whole range on some cases, near the thresholds on others.
        const auto b = c.bytes(width, height, width, c.seed % 2 == 0 ? 2 : 1);
        for (int i = 0; i < width * height && c.seed % 2 == 1; i += 3) b.data()[i] ^= i % 32;
        const GhostThresholds thresholds{kThresholds[c.seed % 10], kThresholds[c.seed / 3 % 10], kNoise[c.seed % 8]};
        const auto scratch = c.empty<int16_t>(width, height, width);
        auto mask = c.empty<uint8_t>(width, height, width);
        (plain ? GhostFilter_plain : GhostFilter)({a.data(), b.data(), scratch.data(), mask.data(), width, height},
                                                  thresholds);
        EXPECT_TRUE(scratch.paddingIntact());
        return mask;
    });
}

}  // namespace
}  // namespace eis::test
