// ParseXML_AcoreAPI_EIS: the record that a file makes, byte for byte; log, callbacks and the sibling library;
// everything that can fail.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <limits>
#include <string>

#include "config/tuning_load.h"
#include "config/xml_encoding.h"
#include "include/acore_api.h"
#include "libCore/core/source/frame/peer_api.h"
#include "libCore/core/source/frame/slots.h"
#include "libCore/core/source/frame/wire.h"
#include "tests/harness/calls.h"
#include "tests/harness/content.h"
#include "tests/harness/device_space.h"
#include "tests/harness/files.h"
#include "tests/harness/planes.h"
#include "tests/harness/transcript.h"

namespace {

// The sibling library's setters show in the journal, as " strange" for another callback than the installed one.
template <class Callback>
void note(const char* name, Callback given, Callback installed) {
    const eis::test::OwnWork own;
    eis::test::recordCallback(std::string("peer ") + (given == installed ? name : "strange"));
}

}  // namespace

extern "C" {
void peerSetIO2VAConverter(void* (*converter)(uint32_t)) {
    note("converter", converter, eis::g_convert2Addr.load());
}
void peerSetGraphicBufferInvalidater(void (*invalidater)(void*)) {
    note("invalidater", invalidater, eis::g_invalidBuff.load());
}
void peerSetGraphicBufferFlusher(void (*flusher)(void*)) {
    note("flusher", flusher, eis::g_flushBuff.load());
}
}

namespace eis::test {
namespace {

// Of the record as the format's tables give it, over a buffer of 0xA5. Both were computed from these tables alone. In
// full.xml each value is its own offset in the record, but for the strengths, which are clamped and have its last two
// digits.
constexpr uint64_t kDefaultsDigest = 0x445FC62417AA893B;
constexpr uint64_t kFullDigest = 0xDE1295348F1DF7FF;

std::string element(const std::string& name, const std::string& content) {
    return std::string("<").append(name).append(">").append(content).append("</").append(name).append(">");
}

// A host that loads tuning files: a folder, a record buffer at an odd address, and a clean process for each test. Every
// load is noted with its journal, and with the 16-bit words of the record that are not the default's, by offset.
class TuningLoad : public testing::Test {
  protected:
    TuningLoad() {
        loads_.hide(prefix_, "FOLDER/");
        loads_.hide("(MFNR AP Version : .*B010)__.*", "$1__DATE");
        write("");
        EXPECT_EQ(loadAfresh(prefix_.c_str()), retStsOK);
        EXPECT_EQ(recordDigest(), kDefaultsDigest);
        std::memcpy(defaults_.data(), record_.data(), sizeof defaults_);
        forget();
    }
    ~TuningLoad() override { forget(); }

    // As at the start of the process.
    static void forget() {
        g_xmlConfig = XmlConfig();
        g_tuningStaging = {};
        setXmlEncoding(kXmlUtf8);
    }

    // A file with these keys below /Config, long enough for the reader.
    void write(const std::string& keys) const {
        writeFile(file_, "<?xml version=\"1.0\"?>\n<Config>" + keys + "</Config>" + comment_);
    }

    ret_status load(const char* prefix) const {
        const ST_PARSE_XML_IN block{recordAddress_, prefix};
        return ParseXML_AcoreAPI_EIS(&block);
    }
    // Into a buffer with no trace of an earlier record.
    ret_status loadAfresh(const char* prefix) const {
        std::memset(record_.data(), 0xA5, record_.size());
        clearEvents();
        return load(prefix);
    }
    void noteLoad(const std::string& name, const char* prefix) {
        std::string outcome = std::to_string(loadAfresh(prefix));
        if (std::all_of(record_.data(), record_.data() + record_.size(), [](uint8_t byte) { return byte == 0xA5; })) {
            outcome += ", untouched";
        } else {
            for (size_t offset = 0; offset < record_.size(); offset += 2) {
                const auto is = at<int16_t>(offset);
                if (is == defaults_[offset / 2]) continue;
                outcome.append(" ").append(std::to_string(offset)).append(":").append(std::to_string(is));
            }
        }
        loads_.add(name, outcome);
    }
    void noteLoad(const std::string& name) { noteLoad(name, prefix_.c_str()); }

    template <class T>
    T at(size_t offset) const {
        return loadUnaligned<T>(record_.data() + offset);
    }
    int32_t word(size_t offset) const { return at<int32_t>(offset); }
    uint64_t recordDigest() const { return digest(record_.data(), record_.size()); }

    const std::string comment_ = "<!--" + std::string(200, '.') + "-->";
    TempFolder folder_;
    std::string prefix_ = folder_.path("");
    std::string file_ = folder_.path("multiframe.xml");
    GuardedMemory record_{sizeof(ST_CONFIG_XML), {Placement::kAtEnd, 1}};
    std::array<int16_t, sizeof(ST_CONFIG_XML) / 2> defaults_{};
    DeviceSpace space_;
    DeviceAddress recordAddress_ = space_.add("record", record_.data(), record_.size());
    Transcript loads_{EIS_TEST_FOLDER};
};

// The same path is not read again, whatever became of the file.
TEST_F(TuningLoad, EveryKey) {
    writeFile(file_, readFile(EIS_TEST_FOLDER "/full.xml"));
    EXPECT_EQ(loadAfresh(prefix_.c_str()), retStsOK);
    EXPECT_EQ(recordDigest(), kFullDigest);
    EXPECT_TRUE(record_.surroundingsIntact());
    for (const char* later : {"<Global><ExposureFusionFlag>1</ExposureFusionFlag></Global>", "<broken"}) {
        write(later);
        EXPECT_EQ(loadAfresh(prefix_.c_str()), retStsOK);
        EXPECT_EQ(recordDigest(), kFullDigest);
    }
    const TempFolder other;
    other.write("multiframe.xml", "<?xml?><Config/>" + std::string(200, ' '));
    EXPECT_EQ(loadAfresh(other.path("").c_str()), retStsOK);
    EXPECT_EQ(recordDigest(), kDefaultsDigest) << "missing tables are cleared, not kept";
}

TEST_F(TuningLoad, Contents) {
    const std::string config = "<Config><Global><ExposureFusionFlag>1</ExposureFusionFlag></Global></Config>";
    for (const std::string& content : {
             // Two items at the root, and it stays; else it gives way to Config itself, under which there is no Config.
             config + comment_,
             config + std::string(200, ' '),
             "<?xml?>" + config + comment_,
             comment_ + "<?xml?>" + config,
             "<?xml?><Config><NoiseReduction><ISO9/></NoiseReduction><ISO1><lumaMed>7</lumaMed></ISO1></Config>" +
                 comment_,
             // The first element of a name hides the later ones.
             "<?xml?><Config><Global/>" + config.substr(8) + comment_,
             "<?xml?><Config><Globa/><Globally/><GLOBAL><exposurefusionflag>1</exposurefusionflag><ExposureFusionFlag>2"
             "</ExposureFusionFlag></GLOBAL><Global/></Config>" +
                 comment_,
         }) {
        writeFile(file_, content);
        forget();
        noteLoad(content);
    }
    const struct {
        const char *section, *level, *key, *text;
    } cases[] = {
        {"NoiseReduction", "ISO1", "lumaLF", " -300 "},        {"NoiseReduction", "ISO1", "LUMALF", "+7x"},
        {"NoiseReduction", "ISO1", "lumaLF", "99999999999"},   {"NoiseReduction", "ISO1", "lumaLF", "none"},
        {"NoiseReduction", "ISO1", "lumaLF", "&#;12"},         {"NoiseReduction", "ISO1", "lumaLF", "1<!-- -->2"},
        {"noisereduction", "iso8", "chromas_bn", "-1"},        {"SFNoiseReduction", "ISO1", "luma", "-300"},
        {"SFNoiseReduction", "ISO2", "detail", "99999999999"}, {"SFNoiseReduction", "ISO1", "ColorManageFlag", "-300"},
        {"SFNoiseReduction", "ISO2", "shading", "-0.5"},       {"SFNoiseReduction", "ISO2", "shading", "dark"},
    };
    for (const auto& c : cases) {
        const std::string keys = element(c.section, element(c.level, element(c.key, c.text)));
        write(keys);
        forget();
        noteLoad(keys);
    }
    // What each text leaves in a table that an earlier file filled with 1, 2, 3, ...
    std::string forty;
    for (int i = 1; i <= 41; ++i) forty.append(" ").append(std::to_string(i));
    for (const std::string text : {"7 8\n\t9", "7 8x 9", "-1 7", "4294967296 7", "32767 -32768 7"}) {
        forget();
        for (const std::string& numbers : {forty, text}) {
            write(element("NoiseReduction", element("ISO2", element("chromaNrLUT", numbers))) +
                  element("SFNoiseReduction", element("ISO2", element("alphaLUT", numbers))));
            g_xmlConfig = XmlConfig();
            noteLoad("tables");
        }
    }
    EXPECT_TRUE(loads_.isAsRecorded());
}

// A call that finds no record keeps the tree: the next one does not go to the disk.
TEST_F(TuningLoad, WhatIsMissing) {
    write("");
    space_.refuse("record");
    noteLoad("no record");
    space_.allow();
    for (int run = 0; run < 2; ++run) {
        const ResourceWatch watch;
        noteLoad("record");
        EXPECT_EQ(watch.count(kFopen), 0);
    }
    const std::string longest(255 - std::string("multiframe.xml").size(), 'p');
    const std::string absent = folder_.path("absent/");
    for (const std::string& prefix :
         {absent, longest, longest + "p", longest + std::string(1000, 'p'), std::string()}) {
        EXPECT_EQ(load(prefix_.c_str()), retStsOK);
        noteLoad("no file", prefix.c_str());
        EXPECT_TRUE(IsNull(g_xmlConfig.root())) << "the earlier tree is gone";
        EXPECT_STREQ(g_xmlConfig.fileName(), "");
    }
    noteLoad("no path", nullptr);
    write("<a>&none;</a>");
    noteLoad("an error");
    write("");
    noteLoad("a name that did not load is not remembered");
    // A name beyond the buffer reaches LoadConfig only from a tool.
    EXPECT_FALSE(g_xmlConfig.LoadConfig(std::string(256, 'n').c_str()));
    EXPECT_STREQ(g_xmlConfig.fileName(), file_.c_str());
    EXPECT_TRUE(loads_.isAsRecorded());
}

// The second conversion is not tested.
TEST_F(TuningLoad, SecondConversionNull) {
    static int conversions;
    static void* record;
    static void* flushed;
    conversions = 0;
    flushed = record = record_.data();
    setIO2VAConverter([](DeviceAddress) { return conversions++ == 0 ? record : nullptr; });
    setGraphicBufferFlusher([](void* address) { flushed = address; });
    EXPECT_EQ(load(prefix_.c_str()), retStsOK);
    EXPECT_EQ(conversions, 2);
    EXPECT_EQ(flushed, nullptr);
}

// A tree that is held is not searched for its keys again.
TEST_F(TuningLoad, SecondCallIsQuick) {
    std::string strangers;
    for (int i = 0; i < 100000; ++i) strangers += "<x/>";
    write(strangers);
    const auto timeOfCall = [&] {
        const std::clock_t start = std::clock();
        EXPECT_EQ(load(prefix_.c_str()), retStsOK);
        return std::clock() - start;
    };
    const std::clock_t first = timeOfCall();
    EXPECT_LT(timeOfCall() * 4, first);
}

// Whatever cannot be allocated, the call ends with a record in which a key may be missing, or with no file. Memory ends
// at each call of the allocator and, by the length of a first text, at many places in a block.
TEST_F(TuningLoad, EachAllocationFailing) {
    int whole = 0;
    const auto run = [&] {
        const int status = loadAfresh(prefix_.c_str());
        forget();
        return status;
    };
    const auto failed = [&](int status, int /*nth*/) {
        EXPECT_TRUE(status == retStsFileError || status == retStsOK) << status;
        if (status != retStsOK) return;
        // What the file says, or the default; of a text that a comment parts also one half.
        EXPECT_TRUE(word(4) == 3 || word(4) == 0) << word(4);
        EXPECT_TRUE(word(8) == 4 || word(8) == -100) << word(8);
        EXPECT_TRUE(word(12) == 5 || word(12) == 0) << word(12);
        EXPECT_TRUE(word(2264) == 12 || (word(2264) >= 0 && word(2264) <= 2)) << word(2264);
        if (word(4) == 3 && word(8) == 4 && word(12) == 5 && word(2264) == 12) ++whole;
    };
    const auto succeeded = [&](int status) {
        EXPECT_EQ(status, retStsOK);
        EXPECT_EQ(word(4), 3);
        EXPECT_EQ(word(2264), 12);
        EXPECT_EQ(at<float>(2288 + 32 + 40), 0.25F);
    };
    for (size_t filling = 0; filling < 50; ++filling) {
        SCOPED_TRACE(filling);
        write("<z>" + std::string(6000 + 43 * filling, 'z') +
              "</z><!-- c --><Global a='1' b><ExposureFusionFlag>1<!-- x -->2</ExposureFusionFlag></Global>"
              "<NoiseReduction><ISO1><lumaMed>3</lumaMed><lumaLF>4</lumaLF><lumaHF1>5</lumaHF1></ISO1></NoiseReduction>"
              "<SFNoiseReduction><ISO1><shading>0.25" +
              std::string(70, '0') + "</shading></ISO1></SFNoiseReduction>");
        const int allowed = filling % 2 == 0 ? 1 : INT_MAX;
        EXPECT_GT(failEachInTurn({kAllocation, [] {}, run, failed, succeeded, allowed}), 4);
    }
    // A refused block that is larger than needed is asked for at half the size: without that, 61 records are whole.
#ifndef __SANITIZE_ADDRESS__
    EXPECT_GE(whole, 90);
#endif
}

// Sets a locale of which only the numbers are known, in the C library's form: their decimal point is a comma.
void setCommaLocale(const TempFolder& folder) {
    const struct {
        uint32_t magic = 0x20031115 ^ LC_NUMERIC, count = 6, offsets[6] = {32, 34, 35, 36, 40, 44};
        char point[2] = ",", separator = 0, grouping = 0;
        uint32_t widePoint = ',', wideSeparator = 0, codeset = 0;
    } numbers;
    std::filesystem::create_directory(folder.path("comma"));
    folder.write("comma/LC_NUMERIC", {reinterpret_cast<const char*>(&numbers), sizeof numbers});
    setenv("LOCPATH", folder.path("").c_str(), 1);
    std::setlocale(LC_NUMERIC, "comma");
}

// The readers of the interface, of which keys use none by path. Arrays are read alike in every locale.
TEST_F(TuningLoad, SpareReaders) {
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
    std::array<int16_t, 3> shorts{1, 1, 1};
    EXPECT_EQ(ReadXmlShortArray(config, "/Config/t", shorts.data(), 3), 1);
    EXPECT_EQ(shorts, (std::array<int16_t, 3>{-7, INT16_MAX, 1}));
    std::array<uint32_t, 3> words{1, 1, 1};
    EXPECT_EQ(ReadXmlUIntArray(config, "/Config/t", words.data(), 3), 1);
    EXPECT_EQ(words, (std::array<uint32_t, 3>{0xFFFFFFF9, 0x80000000, 5}));
    EXPECT_EQ(ReadXmlInt(config, "/Config/t", 3), -7);
    EXPECT_EQ(ReadXmlInt(config, "/Config/x", 3), 3);
    EXPECT_EQ(ReadXmlFloat(config, "/Config/f", 3), 1.5F);
    EXPECT_STREQ(ReadXmlText(config, "/Config/t", "none"), "-7 2147483648 5");
    EXPECT_STREQ(ReadXmlText(config, "/Config/x", "none"), "none");
}

}  // namespace
}  // namespace eis::test
