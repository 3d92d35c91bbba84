// ParseXML_AcoreAPI_EIS from outside: log, callbacks, the sibling library, and everything that can fail.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/config/load_fixture.h"
#include "tests/config/peers.h"
#include "tests/harness/calls.h"
#include "tests/harness/events.h"

namespace eis::test {
namespace {

constexpr char kBanner[] = "info MFNR AP Version : __LOG-Zentrix Video 5.2.VVEIS3.B010__*__*__\n";

class TuningEntry : public TuningLoad {
  protected:
    // The lines up to the start of the load.
    Events opening(const std::string& prefix, const std::string& name) const {
        return {kBanner, "info enter func ParseXML_AcoreAPI_EIS\n",
                "info XML file path is [" + prefix + "], the xmlInfo Addr is[" +
                    std::to_string(static_cast<int32_t>(recordAddress_)) + "]\n",
                "info XML file name:" + name + "\n", "info xml LoadConfig start\n"};
    }
    Events success(bool flushed) const {
        Events events = opening(prefix_, file_);
        for (const char* event :
             {"info xml LoadConfig ok\n", "info xml ImgProc_ParseXMLMfnr start\n", "convert record",
              "info xml configXml addr is [0x*]\n", "info xml ImgProc_ParseXMLMfnr end, ret = 0\n", "convert record",
              flushed ? "flush record" : "flush null", "info exit func ParseXML_AcoreAPI_EIS\n"}) {
            events.emplace_back(event);
        }
        for (const std::string& call : peerCalls()) events.push_back(call);
        return events;
    }
    Events notLoaded(const std::string& prefix, const std::string& name) const {
        Events events = opening(prefix, name);
        events.emplace_back("info xml XmlConfig.LoadConfig failed\n");
        return events;
    }
};

TEST_F(TuningEntry, Success) {
    write("");
    for (int run = 0; run < 2; ++run) {
        clearEvents();
        EXPECT_EQ(load(), retStsOK);
        EXPECT_TRUE(eventsWere(success(true)));
    }
}

TEST_F(TuningEntry, NullPath) {
    EXPECT_EQ(load(nullptr), retStsBadAddress);
    Events expected = opening("(null)", "");
    expected.resize(3);
    expected.emplace_back("error xmlFileName = (nil)");
    EXPECT_TRUE(eventsWere(expected));
}

TEST_F(TuningEntry, FilesThatDoNotLoad) {
    const std::string longest(255 - std::string("multiframe.xml").size(), 'p');
    const struct {
        std::string prefix;
        std::string name;
    } cases[] = {
        {folder_.path("absent/"), folder_.path("absent/multiframe.xml")},
        {longest, longest + "multiframe.xml"},
        {longest + "p", ""},
        {longest + std::string(1000, 'p'), ""},
        {"", "multiframe.xml"},
    };
    for (const auto& c : cases) {
        for (const bool afterALoad : {false, true}) {
            SCOPED_TRACE(c.prefix);
            forget();
            write("");
            if (afterALoad) {
                EXPECT_EQ(load(), retStsOK);
            }
            clearEvents();
            EXPECT_EQ(load(c.prefix.c_str()), retStsFileError);
            EXPECT_TRUE(eventsWere(notLoaded(c.prefix, c.name)));
            EXPECT_TRUE(IsNull(g_xmlConfig.root())) << "the earlier tree is gone";
            EXPECT_STREQ(g_xmlConfig.fileName(), "");
        }
    }
    for (const char* content : {"<?xml?><Config/>", ""}) {
        writeFile(file_, content);
        clearEvents();
        EXPECT_EQ(load(), retStsFileError);
        EXPECT_TRUE(eventsWere(notLoaded(prefix_, file_)));
    }
    write("<a>&none;</a>");
    EXPECT_EQ(load(), retStsFileError);
    write("");
    EXPECT_EQ(load(), retStsOK) << "a name that did not load is not remembered";
}

// A name beyond the buffer reaches LoadConfig only from a tool.
TEST_F(TuningEntry, NameTooLongChangesNothing) {
    write("");
    ASSERT_EQ(load(), retStsOK);
    EXPECT_FALSE(g_xmlConfig.LoadConfig(std::string(256, 'n').c_str()));
    EXPECT_FALSE(IsNull(g_xmlConfig.root()));
    EXPECT_STREQ(g_xmlConfig.fileName(), file_.c_str());
}

// The failed call keeps the tree: the next one does not go to the disk.
TEST_F(TuningEntry, RecordAddressNull) {
    write("");
    space_.refuse("record");
    std::memset(record_.data(), 0xA5, record_.size());
    EXPECT_EQ(load(), retStsBadAddress);
    Events expected = opening(prefix_, file_);
    for (const char* event : {"info xml LoadConfig ok\n", "info xml ImgProc_ParseXMLMfnr start\n", "convert record",
                              "error ImgProc_ParseXMLMfnr configXml FunConvert2Addr convert addr error\n",
                              "info xml ImgProc_ParseXMLMfnr end, ret = -998\n"}) {
        expected.emplace_back(event);
    }
    EXPECT_TRUE(eventsWere(expected));
    for (size_t i = 0; i < record_.size(); ++i) ASSERT_EQ(record_.data()[i], 0xA5);

    space_.allow();
    const ResourceWatch watch;
    EXPECT_EQ(load(), retStsOK);
    EXPECT_EQ(watch.count(kFopen), 0);
    EXPECT_EQ(watch.count(kFread), 0);
}

// The second conversion is not tested.
TEST_F(TuningEntry, SecondConversionNull) {
    static int conversions;
    static void* record;
    static void* flushed;
    conversions = 0;
    record = record_.data();
    flushed = record;
    write("");
    setIO2VAConverter([](DeviceAddress) { return conversions++ == 0 ? record : nullptr; });
    setGraphicBufferFlusher([](void* address) { flushed = address; });
    EXPECT_EQ(load(), retStsOK);
    EXPECT_EQ(conversions, 2);
    EXPECT_EQ(flushed, nullptr);
    EXPECT_TRUE(callbacksWere(peerCalls()));
}

// Whatever cannot be allocated, the call ends with a record in which a key may be missing, or with no file.
TEST_F(TuningEntry, EachAllocationFails) {
    write(
        "<!-- c --><Global a='1' b><ExposureFusionFlag>1<!-- x -->2</ExposureFusionFlag></Global>"
        "<NoiseReduction><ISO1><lumaMed>3</lumaMed><lumaLF>4</lumaLF><lumaHF1>5</lumaHF1><lumaHF2>6</lumaHF2>"
        "<lumaHF3>7</lumaHF3><detail>8</detail></ISO1></NoiseReduction><SFNoiseReduction><ISO1><shading>"
        "0.250000000000000000000000000000000000000000000000000000000000000000000000000000</shading></ISO1>"
        "</SFNoiseReduction><x/><y/>");
    const struct {
        size_t offset;
        int32_t value;
        std::vector<int32_t> withLess;  // of the file's items
    } words[] = {{2264, 12, {1, 2, 0}}, {4, 3, {0}},  {8, 4, {-100}}, {12, 5, {0}},
                 {16, 6, {0}},          {20, 7, {0}}, {24, 8, {-128}}};
    const FaultLoop loop{
        .calls = kAllocation,
        .prepare = [&] { std::memset(record_.data(), 0xA5, record_.size()); },
        .run =
            [&] {
                const int status = load();
                forget();
                return status;
            },
        .failed =
            [&](int status, int) {
                if (status == retStsFileError) {
                    EXPECT_TRUE(eventsWere(notLoaded(prefix_, file_)));
                    return;
                }
                EXPECT_EQ(status, retStsOK);
                EXPECT_TRUE(eventsWere(success(true)));
                for (const auto& w : words) {
                    const int32_t seen = word(w.offset);
                    const auto& less = w.withLess;
                    EXPECT_TRUE(seen == w.value || std::find(less.begin(), less.end(), seen) != less.end()) << seen;
                }
            },
        .succeeded =
            [&](int status) {
                EXPECT_EQ(status, retStsOK);
                for (const auto& w : words) EXPECT_EQ(word(w.offset), w.value);
                EXPECT_EQ(at<float>(2288 + 32 + 40), 0.25F);
            },
    };
    EXPECT_GT(failEachInTurn(loop), 50);
}

}  // namespace
}  // namespace eis::test
