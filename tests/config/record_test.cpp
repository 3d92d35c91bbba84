// The record that a file makes, byte for byte.
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "tests/config/load_fixture.h"
#include "tests/harness/content.h"

namespace eis::test {
namespace {

constexpr size_t kSf = 2288;
constexpr size_t kSfLevels = kSf + 32;
constexpr size_t kSfStride = 90;

// Of the record as the format's tables give it, over a buffer of 0xA5. Both were computed from these tables alone.
constexpr uint64_t kDefaultsDigest = 0x445FC62417AA893B;
constexpr uint64_t kFullDigest = 0xDE1295348F1DF7FF;

std::string element(const std::string& name, const std::string& content) {
    std::string text;
    text.append("<").append(name).append(">").append(content).append("</").append(name).append(">");
    return text;
}

class TuningRecord : public TuningLoad {
  protected:
    uint64_t recordDigest() const { return digest(record_.data(), record_.size()); }
};

TEST_F(TuningRecord, Defaults) {
    for (const char* keys : {"", "<NoiseReduction><ISO9/></NoiseReduction><ISO1><lumaMed>7</lumaMed></ISO1>"}) {
        write(keys);
        forget();
        EXPECT_EQ(loadAfresh(), retStsOK);
        EXPECT_EQ(recordDigest(), kDefaultsDigest);
    }
    EXPECT_EQ(word(7 * 280), 4950);
    EXPECT_EQ(word(7 * 280 + 8), -100);
    EXPECT_EQ(word(7 * 280 + 24), -128);
    EXPECT_EQ(word(7 * 280 + 276), 2550);
    EXPECT_EQ(word(2244), 154);
    EXPECT_EQ(word(kSf + 28), 256);
    EXPECT_EQ(word(kSfLevels + 7 * kSfStride + 24), -70);
    EXPECT_EQ(at<float>(kSfLevels + 7 * kSfStride + 44), 0.2F);
    EXPECT_TRUE(record_.surroundingsIntact());
}

// No declaration in front: the tree loads, but nothing stands under /Config.
TEST_F(TuningRecord, DefaultsOfAFileWithoutDeclaration) {
    const std::string comment = "<!--" + std::string(200, '.') + "-->";
    const std::string config = "<Config><Global><ExposureFusionFlag>1</ExposureFusionFlag></Global></Config>";
    const struct {
        std::string content;
        int32_t flag;
    } cases[] = {
        {config + comment, 1},                // two items at the root: it stays, and so does the path
        {config + std::string(200, ' '), 0},  // the root gives way to Config itself
        {"<?xml?>" + config + comment, 1},
        {comment + "<?xml?>" + config, 0},
        {comment + config, 1},
        {std::string(200, 'x'), 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.content);
        writeFile(file_, c.content);
        forget();
        EXPECT_EQ(loadAfresh(), retStsOK);
        EXPECT_EQ(word(2264), c.flag);
        if (c.flag == 0) {
            EXPECT_EQ(recordDigest(), kDefaultsDigest);
        }
    }
}

// In this file each value is its own offset, so that a key in a wrong place shows.
TEST_F(TuningRecord, Full) {
    writeFile(file_, readFile(EIS_TEST_FOLDER "/full.xml"));
    EXPECT_EQ(loadAfresh(), retStsOK);
    EXPECT_EQ(recordDigest(), kFullDigest);
    for (size_t offset = 0; offset < kSf + 32; offset += 4) {
        const bool isReserved = offset >= 2248 && offset < 2264;
        EXPECT_EQ(word(offset), isReserved ? static_cast<int32_t>(0xA5A5A5A5u) : static_cast<int32_t>(offset));
    }
    for (int level = 0; level < 8; ++level) {
        const size_t base = kSfLevels + level * kSfStride;
        EXPECT_EQ(at<uint32_t>(base), 0xA5A5A5A5u);
        for (size_t i = 4; i < 20; i += 4) EXPECT_EQ(word(base + i), static_cast<int32_t>(base + i));
        for (size_t i = 20; i < 40; i += 4) EXPECT_EQ(word(base + i), -static_cast<int32_t>((base + i) % 100));
        for (size_t i = 40; i < 56; i += 4) EXPECT_EQ(at<float>(base + i), static_cast<float>(base + i) + 0.25F);
        for (size_t i = 56; i < 90; i += 2) EXPECT_EQ(at<int16_t>(base + i), static_cast<int16_t>(base + i));
    }
    EXPECT_TRUE(record_.surroundingsIntact());
}

// The same path is not read again, whatever became of the file.
TEST_F(TuningRecord, Reload) {
    writeFile(file_, readFile(EIS_TEST_FOLDER "/full.xml"));
    EXPECT_EQ(load(), retStsOK);
    for (const char* later : {"<Global><ExposureFusionFlag>1</ExposureFusionFlag></Global>", "<broken"}) {
        write(later);
        EXPECT_EQ(loadAfresh(), retStsOK);
        EXPECT_EQ(recordDigest(), kFullDigest);
    }
    TempFolder other;
    writeFile(other.path("multiframe.xml"), "<?xml?><Config/>" + std::string(200, ' '));
    std::memset(record_.data(), 0xA5, record_.size());
    EXPECT_EQ(load(other.path("").c_str()), retStsOK);
    EXPECT_EQ(recordDigest(), kDefaultsDigest) << "missing tables are cleared, not kept";
}

TEST_F(TuningRecord, Numbers) {
    const struct {
        const char* section;
        const char* key;
        const char* text;
        size_t offset;
        int32_t value;  // of the word there; of a float its bits
    } cases[] = {
        {"NoiseReduction/ISO1", "lumaLF", "5", 8, 5},
        {"NoiseReduction/ISO1", "lumaLF", " -300 ", 8, -300},
        {"NoiseReduction/ISO1", "LUMALF", "+7x", 8, 7},
        {"NoiseReduction/ISO1", "lumaLF", "1.9", 8, 1},
        {"NoiseReduction/ISO1", "lumaLF", "0x10", 8, 0},
        {"NoiseReduction/ISO1", "lumaLF", "99999999999", 8, INT32_MAX},
        {"NoiseReduction/ISO1", "lumaLF", "-99999999999", 8, INT32_MIN},
        {"NoiseReduction/ISO1", "lumaLF", "none", 8, -100},
        {"NoiseReduction/ISO1", "lumaLF", "-", 8, -100},
        {"NoiseReduction/ISO1", "lumaLF", "", 8, -100},
        {"NoiseReduction/ISO1", "lumaLF", "&#;12", 8, -100},
        {"NoiseReduction/ISO1", "lumaLF", "<![CDATA[12]]>", 8, -100},
        {"NoiseReduction/ISO1", "lumaLF", "<b/>12<b/>13", 8, 12},
        {"NoiseReduction/ISO1", "lumaLF", "1<!-- -->2", 8, 12},
        {"NoiseReduction/ISO1", "lumaLF", "1</lumaLF><lumaLF>2", 8, 1},
        {"noisereduction/iso8", "chromas_bn", "-1", 7 * 280 + 240, -1},
        {"GhostDetection/ISO3", "lumaTH_Low_M", "31", 2 * 280 + 248, 31},
        {"GhostDetection/ISO3", "lumaTH_High", "32", 2 * 280 + 252, 32},
        {"RouteSwitch", "DepthType", "-2", 2268, -2},
        {"SFNoiseReduction/ISO1", "luma", "5", kSfLevels + 20, 0},
        {"SFNoiseReduction/ISO1", "luma", "-300", kSfLevels + 20, -100},
        {"SFNoiseReduction/ISO1", "luma", "-99", kSfLevels + 20, -99},
        {"SFNoiseReduction/ISO2", "detail", "99999999999", kSfLevels + 90 + 36, 0},
        {"SFNoiseReduction/ISO1", "ColorManageFlag", "-300", kSfLevels + 16, -300},
        {"SFNoiseReduction/ISO2", "shading", "-0.5", kSfLevels + 90 + 40, std::bit_cast<int32_t>(-0.5F)},
        {"SFNoiseReduction/ISO2", "shading", "16777217", kSfLevels + 90 + 40, std::bit_cast<int32_t>(16777216.F)},
        {"SFNoiseReduction/ISO2", "shading", "dark", kSfLevels + 90 + 40, std::bit_cast<int32_t>(1.F)},
        {"SFNoiseReduction/ISO2", "percentLow", "", kSfLevels + 90 + 44, std::bit_cast<int32_t>(0.2F)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.key) + " " + c.text);
        const std::string section = c.section;
        const size_t slash = section.find('/');
        std::string xml = element(c.key, c.text);
        if (slash != std::string::npos) xml = element(section.substr(slash + 1), xml);
        write(element(section.substr(0, slash), xml));
        forget();
        EXPECT_EQ(load(), retStsOK);
        EXPECT_EQ(word(c.offset), c.value);
    }
}

// What each text leaves in a table that an earlier file filled with 1, 2, 3, ...
TEST_F(TuningRecord, Tables) {
    const auto file = [](const std::string& chroma, const std::string& alpha) {
        return element("NoiseReduction", element("ISO2", chroma)) + element("SFNoiseReduction", element("ISO2", alpha));
    };
    std::string forty;
    for (int i = 1; i <= 41; ++i) forty.append(" ").append(std::to_string(i));
    const struct {
        const char* text;
        std::vector<uint32_t> chroma;  // the first entries; the others are the earlier file's
        std::vector<int16_t> alpha;    // the first entries; the others are 0
    } cases[] = {
        {"7 8\n\t9", {7, 8, 9}, {7, 8, 9}},
        {"7,8", {7, 0}, {7, 0}},
        {"7 x 9", {7, 0}, {7, 0}},
        {"7 8x 9", {7, 8, 0}, {7, 8, 0}},
        {"-1 7", {4294967295u, 7}, {-1, 7}},
        {"4294967295 7", {4294967295u, 7}, {32767}},
        {"4294967296 7", {4294967295u}, {32767}},
        {"-4294967295 7", {1, 7}, {-32768}},
        {"-4294967296 7", {4294967295u}, {-32768}},
        {"40000 7", {40000, 7}, {32767}},
        {"32767 -32768 7", {32767, 4294934528u, 7}, {32767, -32768, 7}},
        {"0x10", {0, 0}, {0, 0}},
        {"010 +3", {10, 3}, {10, 3}},
        {"&#;5", {}, {}},
        {"1.5", {1, 0}, {1, 0}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        write(file(element("chromaNrLUT", forty), element("alphaLUT", forty)));
        forget();
        ASSERT_EQ(load(), retStsOK);
        g_xmlConfig = XmlConfig();
        write(file(element("chromaNrLUT", c.text), element("alphaLUT", c.text)));
        ASSERT_EQ(loadAfresh(), retStsOK);
        for (size_t i = 0; i < 40; ++i) {
            const uint32_t expected = i < c.chroma.size() ? c.chroma[i] : static_cast<uint32_t>(i) + 1;
            EXPECT_EQ(at<uint32_t>(280 + 56 + 4 * i), expected) << i;
            if (i == 0) {
                EXPECT_EQ(at<uint32_t>(56), 0u) << "no table in the file";
            }
        }
        for (size_t i = 0; i < 17; ++i) {
            EXPECT_EQ(at<int16_t>(kSfLevels + 90 + 56 + 2 * i), i < c.alpha.size() ? c.alpha[i] : 0) << i;
        }
    }
    g_xmlConfig = XmlConfig();
    write("");
    EXPECT_EQ(load(), retStsOK);
    for (size_t i = 0; i < 40; ++i) EXPECT_EQ(word(280 + 56 + 4 * i), 0) << "a missing table is cleared";
}

// The readers that no key uses.
TEST_F(TuningRecord, SpareReaders) {
    write("<t>-7 2147483648 5</t><f>1.5 -2e3 1e39 4</f><e>2 1e</e><x/>");
    XmlConfig config;
    ASSERT_TRUE(config.LoadConfig(file_.c_str()));
    int32_t ints[4] = {1, 1, 1, 1};
    EXPECT_EQ(ReadXmlIntArray(config, "/Config/t", ints, 4), 1);
    EXPECT_EQ(ints[0], -7);
    EXPECT_EQ(ints[1], INT32_MAX);
    EXPECT_EQ(ints[2], 1);
    EXPECT_EQ(ReadXmlIntArray(config, "/Config/x", ints, 4), 0);
    EXPECT_EQ(ints[0], -7);
    float floats[4] = {9, 9, 9, 9};
    EXPECT_EQ(ReadXmlFloatArray(config, "/Config/f", floats, 4), 1);
    EXPECT_EQ(floats[0], 1.5F);
    EXPECT_EQ(floats[1], -2000.F);
    EXPECT_EQ(floats[2], std::numeric_limits<float>::max());
    EXPECT_EQ(floats[3], 9.F);
    EXPECT_EQ(ReadXmlFloatArray(config, "/Config/e", floats, 4), 1);
    EXPECT_EQ(floats[0], 2.F);
    EXPECT_EQ(floats[1], 0.F);
    EXPECT_STREQ(ReadXmlText(config, "/Config/t", "none"), "-7 2147483648 5");
    EXPECT_STREQ(ReadXmlText(config, "/Config/x", "none"), "none");

    ST_CONFIG_XML record;
    std::memset(&record, 0xA5, sizeof record);
    EXPECT_EQ(ImgProc_ParseXMLMfnr(config, &record), retStsOK);
    EXPECT_EQ(digest(&record, sizeof record), kDefaultsDigest);
}

}  // namespace
}  // namespace eis::test
