// Where values come from, as tools ask for it: it must agree with what the record holds.
#include "host/lab/tuning_origin.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "host/lab/tuning_file.h"
#include "tests/hosttools/scratch_folder.h"

namespace eislab {
namespace {

using eis::StreamEnd;
using eis::TuningSource;

// The key stands alone in level 4; stored and end are those of a table.
TEST(TuningOrigins, Values) {
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
    const eishost::ScratchFolder folder;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.key + (" " + c.text));
        const std::string key = c.key;
        const TuningFile file = loadTuningFile(folder.write(
            "multiframe.xml", "<?xml version=\"1.0\"?>\n<Config><SFNoiseReduction><ISO4><" + key + ">" + c.text + "</" +
                                  key + "></ISO4></SFNoiseReduction></Config><!--" + std::string(200, '.') + "-->"));
        for (const KeyReading& reading : readKeys(file)) {
            if (reading.key->path != "/Config/SFNoiseReduction/ISO4/" + key) continue;
            EXPECT_EQ(reading.origin.line(), 2);
            EXPECT_EQ(reading.origin.source, c.source);
            EXPECT_EQ(reading.origin.isClamped, c.isClamped);
            EXPECT_STREQ(reading.origin.rest, c.rest);
            if (std::strcmp(c.key, "alphaLUT") == 0) {
                EXPECT_EQ(reading.origin.stored, c.stored);
                EXPECT_EQ(reading.origin.end, c.end);
            }
        }
    }
}

}  // namespace
}  // namespace eislab
