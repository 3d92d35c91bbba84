// Where values come from, as tools ask for it: it must agree with what the record holds.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "config/tuning_origin.h"
#include "tests/config/full_file.h"
#include "tests/config/load_fixture.h"

namespace eis::test {
namespace {

using TuningOrigins = TuningLoad;

// The key stands alone in level 4; stored and end are those of a table.
TEST_F(TuningOrigins, Values) {
    using enum TuningSource;
    const std::string seventeen = "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17";
    const struct {
        // luma: an integer in -100..0; NoiseReducFlag: any integer; shading: a float; alphaLUT: a table
        const char* key;
        std::string text;
        TuningSource source;
        bool isClamped;
        const char* rest;
        int32_t stored = 0;
        StreamEnd end = StreamEnd::ranOut;
    } cases[] = {
        {"luma", " -101\n", file, true, ""},
        {"luma", "-1.5 x", file, false, ".5 x"},
        {"luma", "", noText, false, nullptr},
        {"NoiseReducFlag", "-9999999999", file, true, ""},
        {"shading", "-1.5 x", file, false, "x"},
        {"shading", ".5", file, false, ""},
        {"alphaLUT", "1 2 40000 4", file, true, "4", 3, StreamEnd::outOfRange},
        {"alphaLUT", "1 2 x 4", file, false, "x 4", 3, StreamEnd::notNumber},
        {"alphaLUT", seventeen + " 18", file, false, "18", 17, StreamEnd::full},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.key + (" " + c.text));
        write(element("SFNoiseReduction", element("ISO4", element(c.key, c.text))));
        forget();
        ASSERT_EQ(load(), retStsOK);
        const std::string path = std::string("/Config/SFNoiseReduction/ISO4/") + c.key;
        const auto key =
            std::find_if(kTuningKeys.begin(), kTuningKeys.end(), [&](const TuningKey& k) { return path == k.path; });
        ASSERT_NE(key, kTuningKeys.end());
        const TuningOrigin origin = traceTuningKey(g_xmlConfig, *key);
        EXPECT_EQ(origin.line(), 2);
        EXPECT_EQ(origin.source, c.source);
        EXPECT_EQ(origin.isClamped, c.isClamped);
        EXPECT_STREQ(origin.rest, c.rest);
        if (std::strcmp(c.key, "alphaLUT") == 0) {
            EXPECT_EQ(origin.stored, c.stored);
            EXPECT_EQ(origin.end, c.end);
        }
    }
}

}  // namespace
}  // namespace eis::test
