// Damaged files: whatever a file holds, the load ends, and nothing stays behind.
#include <gtest/gtest.h>

#include <string>

#include "config/xml_encoding.h"
#include "tests/config/full_file.h"
#include "tests/config/load_fixture.h"
#include "tests/harness/calls.h"

namespace eis::test {
namespace {

constexpr char kSmallFile[] =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?><!DOCTYPE c [<!-- -->]>\n"
    "<Config><Global x='&#65;' y><ExposureFusionFlag>1<!-- \xC3\xA9 -->2&lt;</ExposureFusionFlag></Global>\n"
    "<SFNoiseReduction><ISO1><luma>-5</luma><![CDATA[ < ]]><alphaLUT>1 -2 3</alphaLUT><shading>.5</shading></ISO1>"
    "</SFNoiseReduction></Config>";

// Parses as a file is parsed, and looks some keys up.
void parseAndRead(const std::string& content) {
    if (const int32_t encoding = DetectXmlEncoding(content.data(), content.size()); encoding != 0)
        setXmlEncoding(encoding);
    const XmlNode root = ParseXmlText(content.c_str(), nullptr);
    for (const char* path : {"/Config/Global/ExposureFusionFlag", "/Config/SFNoiseReduction/ISO1/shading", "/Config"})
        (void)FirstText(FindXmlNode(root, path));
}

class TuningDamage : public TuningLoad {};

TEST_F(TuningDamage, EveryPrefix) {
    const std::string full = fullFile();
    const ResourceWatch watch;
    for (size_t length = 0; length < full.size(); length += 7) parseAndRead(full.substr(0, length));
    for (size_t length = 0; length < sizeof kSmallFile; ++length) {
        writeFile(file_, std::string(kSmallFile, length));
        const ret_status status = load();
        EXPECT_TRUE(status == retStsOK || status == retStsFileError) << length;
        if (length < 200) {
            EXPECT_EQ(status, retStsFileError);
        }
        forget();
    }
    EXPECT_TRUE(watch.nothingLeft());
}

TEST_F(TuningDamage, EverySingleByteChange) {
    const std::string good = kSmallFile;
    const ResourceWatch watch;
    for (size_t at = 0; at < good.size(); ++at) {
        std::string bad = good;
        for (int byte = 0; byte < 256; ++byte) {
            bad[at] = static_cast<char>(byte);
            setXmlEncoding(kXmlUtf8);
            parseAndRead(bad);
        }
    }
    setXmlEncoding(kXmlUtf8);
    EXPECT_TRUE(watch.nothingLeft());
}

}  // namespace
}  // namespace eis::test
