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

class TuningOrigins : public TuningLoad {
  protected:
    static const TuningKey& keyAt(const std::string& path) {
        const auto key =
            std::find_if(kTuningKeys.begin(), kTuningKeys.end(), [&](const TuningKey& k) { return path == k.path; });
        EXPECT_NE(key, kTuningKeys.end()) << path;
        return *key;
    }
    TuningOrigin trace(const std::string& path) { return traceTuningKey(g_xmlConfig.root(), keyAt(path)); }
};

// The key stands alone in level 4; stored and end are those of a table.
TEST_F(TuningOrigins, Values) {
    using enum TuningSource;
    const std::string seventeen = "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17";
    const struct {
        const char*
            key;  // luma: an integer in -100..0; NoiseReducFlag: any integer; shading: a float; alphaLUT: a table
        std::string text;
        TuningSource source;
        bool isClamped;
        const char* rest;
        int32_t stored = 0;
        StreamEnd end = StreamEnd::ranOut;
    } cases[] = {
        {"luma", "-5", file, false, ""},
        {"luma", " -101\n", file, true, ""},
        {"luma", "1", file, true, ""},
        {"luma", "-1.5 x", file, false, ".5 x"},
        {"luma", "off", notNumber, false, "off"},
        {"luma", "", noText, false, nullptr},
        {"NoiseReducFlag", "-101", file, false, ""},
        {"NoiseReducFlag", "-9999999999", file, true, ""},
        {"NoiseReducFlag", ".5", notNumber, false, ".5"},
        {"shading", "-1.5 x", file, false, "x"},
        {"shading", ".5", file, false, ""},
        {"shading", "off", notNumber, false, "off"},
        {"alphaLUT", "1 2 3", file, false, "", 3},
        {"alphaLUT", "1 2 40000 4", file, true, "4", 3, StreamEnd::outOfRange},
        {"alphaLUT", "1 2 x 4", file, false, "x 4", 3, StreamEnd::notNumber},
        {"alphaLUT", seventeen, file, false, "", 17, StreamEnd::full},
        {"alphaLUT", seventeen + " 18", file, false, "18", 17, StreamEnd::full},
    };
    constexpr size_t kLevel = 2320 + 3 * 90;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.key + (" " + c.text));
        write(element("SFNoiseReduction", element("ISO4", element(c.key, c.text))));
        forget();
        ASSERT_EQ(load(), retStsOK);
        const TuningOrigin origin = trace(std::string("/Config/SFNoiseReduction/ISO4/") + c.key);
        EXPECT_EQ(origin.source, c.source);
        EXPECT_EQ(origin.isClamped, c.isClamped);
        EXPECT_STREQ(origin.rest, c.rest);
        if (std::strcmp(c.key, "alphaLUT") == 0) {
            EXPECT_EQ(origin.stored, c.stored);
            EXPECT_EQ(origin.end, c.end);
        } else if (c.source != file) {
            EXPECT_EQ(word(kLevel + 4), 1) << "the default";
            EXPECT_EQ(at<float>(kLevel + 40), 1.F);
        }
    }
}

TEST_F(TuningOrigins, Places) {
    write(
        "\n <Global>\n  <ExposureFusionFlag>\n1</ExposureFusionFlag><ExposureFusionFlag>2</ExposureFusionFlag>"
        "</Global>");
    ASSERT_EQ(load(), retStsOK);
    const TuningOrigin flag = trace("/Config/Global/ExposureFusionFlag");
    EXPECT_EQ(flag.line(), 4);
    EXPECT_EQ(flag.column(), 3);
    EXPECT_STREQ(flag.text, "1") << "the first of two";
    const TuningOrigin absent = trace("/Config/RouteSwitch/DepthType");
    EXPECT_EQ(absent.source, TuningSource::missing);
    EXPECT_EQ(absent.line(), 0);
    EXPECT_FALSE(absent.hasRest());
}

}  // namespace
}  // namespace eis::test
