// Where values come from, as tools ask for it: it must agree with what the record holds.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "config/tuning_origin.h"
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

TEST_F(TuningOrigins, Numbers) {
    const struct {
        const char* text;
        TuningSource luma;      // of a key in -100..0
        TuningSource lumaFlag;  // of an integer
        TuningSource shading;   // of a float
        bool lumaClamped, flagClamped;
        const char* restOfInteger;
        const char* restOfFloat;
    } cases[] = {
        {"-5", TuningSource::file, TuningSource::file, TuningSource::file, false, false, "", ""},
        {" -101\n", TuningSource::file, TuningSource::file, TuningSource::file, true, false, "", ""},
        {"1", TuningSource::file, TuningSource::file, TuningSource::file, true, false, "", ""},
        {"-9999999999", TuningSource::file, TuningSource::file, TuningSource::file, true, true, "", ""},
        {"-1.5 x", TuningSource::file, TuningSource::file, TuningSource::file, false, false, ".5 x", "x"},
        {".5", TuningSource::notNumber, TuningSource::notNumber, TuningSource::file, false, false, ".5", ""},
        {"off", TuningSource::notNumber, TuningSource::notNumber, TuningSource::notNumber, false, false, "off", "off"},
        {"", TuningSource::noText, TuningSource::noText, TuningSource::noText, false, false, nullptr, nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        std::string keys = "\n<SFNoiseReduction><ISO1>";
        for (const char* name : {"luma", "NoiseReducFlag", "shading"}) {
            keys.append("\n<").append(name).append(">").append(c.text).append("</").append(name).append(">");
        }
        write(keys + "</ISO1></SFNoiseReduction>");
        forget();
        ASSERT_EQ(load(), retStsOK);
        const std::string level = "/Config/SFNoiseReduction/ISO1/";
        const TuningOrigin luma = trace(level + "luma");
        const TuningOrigin flag = trace(level + "NoiseReducFlag");
        const TuningOrigin shading = trace(level + "shading");
        EXPECT_EQ(luma.source, c.luma);
        EXPECT_EQ(flag.source, c.lumaFlag);
        EXPECT_EQ(shading.source, c.shading);
        EXPECT_EQ(luma.isClamped, c.lumaClamped);
        EXPECT_EQ(flag.isClamped, c.flagClamped);
        EXPECT_STREQ(luma.rest, c.restOfInteger);
        EXPECT_STREQ(shading.rest, c.restOfFloat);
        if (c.lumaFlag != TuningSource::file) {
            EXPECT_EQ(word(2288 + 32 + 4), 1);
        }
        if (c.shading != TuningSource::file) {
            EXPECT_EQ(at<float>(2288 + 32 + 40), 1.F);
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

TEST_F(TuningOrigins, Tables) {
    const struct {
        const char* text;
        int32_t stored;
        StreamEnd end;
        const char* rest;
    } cases[] = {
        {"1 2 3", 3, StreamEnd::ranOut, ""},
        {"1 2 40000 4", 3, StreamEnd::outOfRange, "4"},
        {"1 2 x 4", 3, StreamEnd::notNumber, "x 4"},
        {"1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17", 17, StreamEnd::full, ""},
        {"1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18", 17, StreamEnd::full, "18"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        write(std::string("<SFNoiseReduction><ISO4><alphaLUT>") + c.text + "</alphaLUT></ISO4></SFNoiseReduction>");
        forget();
        ASSERT_EQ(load(), retStsOK);
        const TuningOrigin table = trace("/Config/SFNoiseReduction/ISO4/alphaLUT");
        EXPECT_EQ(table.source, TuningSource::file);
        EXPECT_EQ(table.stored, c.stored);
        EXPECT_EQ(table.end, c.end);
        EXPECT_EQ(table.isClamped, c.end == StreamEnd::outOfRange);
        EXPECT_STREQ(table.rest, c.rest);
    }
}

}  // namespace
}  // namespace eis::test
