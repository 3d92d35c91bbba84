// The record that a file makes, byte for byte.
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include "tests/config/full_file.h"
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

class TuningRecord : public TuningLoad {
  protected:
    uint64_t recordDigest() const { return digest(record_.data(), record_.size()); }
};

// With no declaration in front the tree loads, but as a rule nothing stands under /Config.
TEST_F(TuningRecord, Defaults) {
    const std::string comment = "<!--" + std::string(200, '.') + "-->";
    const std::string config = "<Config><Global><ExposureFusionFlag>1</ExposureFusionFlag></Global></Config>";
    const struct {
        std::string content;
        int32_t flag;
    } cases[] = {
        {config + comment, 1},                // two items at the root: it stays, and so does the path
        {config + std::string(200, ' '), 0},  // the root gives way to Config itself
        {"<?xml?>" + config + comment, 1},
        {"<?xml?><Config><NoiseReduction><ISO9/></NoiseReduction><ISO1><lumaMed>7</lumaMed></ISO1></Config>" + comment,
         0},
        {comment + "<?xml?>" + config, 0},
        // The first element of a name hides the later ones.
        {"<?xml?><Config><Global/><Global><ExposureFusionFlag>1</ExposureFusionFlag></Global></Config>" + comment, 0},
        {"<?xml?><Config><Globa/><Globally/><GLOBAL><exposurefusionflag>1</exposurefusionflag><ExposureFusionFlag>2"
         "</ExposureFusionFlag></GLOBAL><Global/></Config>" +
             comment,
         1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.content);
        writeFile(file_, c.content);
        forget();
        EXPECT_EQ(loadAfresh(), retStsOK);
        EXPECT_EQ(word(2264), c.flag);
        EXPECT_EQ(recordDigest() == kDefaultsDigest, c.flag == 0);
    }
}

// The same path is not read again, whatever became of the file.
TEST_F(TuningRecord, FullAndReload) {
    writeFile(file_, fullFile());
    EXPECT_EQ(loadAfresh(), retStsOK);
    EXPECT_EQ(recordDigest(), kFullDigest);
    EXPECT_TRUE(record_.surroundingsIntact());
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
        {"NoiseReduction/ISO1", "lumaLF", " -300 ", 8, -300},
        {"NoiseReduction/ISO1", "LUMALF", "+7x", 8, 7},
        {"NoiseReduction/ISO1", "lumaLF", "99999999999", 8, INT32_MAX},
        {"NoiseReduction/ISO1", "lumaLF", "none", 8, -100},
        {"NoiseReduction/ISO1", "lumaLF", "&#;12", 8, -100},
        {"NoiseReduction/ISO1", "lumaLF", "1<!-- -->2", 8, 12},
        {"noisereduction/iso8", "chromas_bn", "-1", 7 * 280 + 240, -1},
        {"SFNoiseReduction/ISO1", "luma", "-300", kSfLevels + 20, -100},
        {"SFNoiseReduction/ISO2", "detail", "99999999999", kSfLevels + 90 + 36, 0},
        {"SFNoiseReduction/ISO1", "ColorManageFlag", "-300", kSfLevels + 16, -300},
        {"SFNoiseReduction/ISO2", "shading", "-0.5", kSfLevels + 90 + 40, std::bit_cast<int32_t>(-0.5F)},
        {"SFNoiseReduction/ISO2", "shading", "dark", kSfLevels + 90 + 40, std::bit_cast<int32_t>(1.F)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.key) + " " + c.text);
        const std::string section = c.section;
        const size_t slash = section.find('/');
        write(element(section.substr(0, slash), element(section.substr(slash + 1), element(c.key, c.text))));
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
        {"7 8x 9", {7, 8, 0}, {7, 8, 0}},
        {"-1 7", {4294967295u, 7}, {-1, 7}},
        {"4294967296 7", {4294967295u}, {32767}},
        {"32767 -32768 7", {32767, 4294934528u, 7}, {32767, -32768, 7}},
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

// Sets a locale of which only the numbers are known, in the C library's form: their decimal point is a comma.
void setCommaLocale(const TempFolder& folder) {
    const struct {
        uint32_t magic = 0x20031115 ^ LC_NUMERIC, count = 6, offsets[6] = {32, 34, 35, 36, 40, 44};
        char point[2] = ",", separator = 0, grouping = 0;
        uint32_t widePoint = ',', wideSeparator = 0, codeset = 0;
    } numbers;
    std::filesystem::create_directory(folder.path("comma"));
    writeFile(folder.path("comma/LC_NUMERIC"), {reinterpret_cast<const char*>(&numbers), sizeof numbers});
    setenv("LOCPATH", folder.path("").c_str(), 1);
    std::setlocale(LC_NUMERIC, "comma");
}

// The readers that no key uses. Arrays are read alike in every locale.
TEST_F(TuningRecord, SpareReaders) {
    write("<t>-7 2147483648 5</t><f>1.5 -2e3 1e39 4</f><e>2 1e</e><x/>");
    XmlConfig config;
    ASSERT_TRUE(config.LoadConfig(file_.c_str()));
    std::array<int32_t, 3> ints{1, 1, 1};
    EXPECT_EQ(ReadXmlIntArray(config, "/Config/t", ints.data(), 3), 1);
    EXPECT_EQ(ReadXmlIntArray(config, "/Config/x", ints.data(), 3), 0);
    EXPECT_EQ(ints, (std::array<int32_t, 3>{-7, INT32_MAX, 1}));
    constexpr float kMost = std::numeric_limits<float>::max();
    std::array<float, 4> floats{9, 9, 9, 9};
    setCommaLocale(folder_);
    ASSERT_EQ(std::strtof("1,5", nullptr), 1.5F);
    EXPECT_EQ(ReadXmlFloatArray(config, "/Config/f", floats.data(), 4), 1);
    EXPECT_EQ(floats, (std::array<float, 4>{1.5F, -2000.F, kMost, 9.F}));
    EXPECT_EQ(ReadXmlFloatArray(config, "/Config/e", floats.data(), 2), 1);
    EXPECT_EQ(floats, (std::array<float, 4>{2.F, 0.F, kMost, 9.F}));
    std::setlocale(LC_NUMERIC, "C");
    EXPECT_STREQ(ReadXmlText(config, "/Config/t", "none"), "-7 2147483648 5");
    EXPECT_STREQ(ReadXmlText(config, "/Config/x", "none"), "none");
}

}  // namespace
}  // namespace eis::test
