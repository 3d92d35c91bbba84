// ParseXML_AcoreAPI_EIS from outside: log, callbacks, the sibling library, and everything that can fail.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <ctime>
#include <ranges>
#include <string>
#include <tuple>

#include "libCore/core/source/frame/peer_api.h"
#include "tests/config/load_fixture.h"
#include "tests/harness/calls.h"
#include "tests/harness/entry_faults.h"

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

class TuningEntry : public TuningLoad {
  protected:
    // The lines up to the start of the load.
    Events opening(const std::string& prefix, const std::string& name) const {
        return {"info MFNR AP Version : __LOG-Zentrix Video 5.2.VVEIS3.B010__*__*__\n",
                "info enter func ParseXML_AcoreAPI_EIS\n",
                "info XML file path is [" + prefix + "], the xmlInfo Addr is[" +
                    std::to_string(static_cast<int32_t>(recordAddress_)) + "]\n",
                "info XML file name:" + name + "\n", "info xml LoadConfig start\n"};
    }
    Events notLoaded(const std::string& prefix, const std::string& name) const {
        return joined({opening(prefix, name), {"info xml XmlConfig.LoadConfig failed\n"}});
    }
    Events loaded() const {
        return joined({opening(prefix_, file_),
                       {"info xml LoadConfig ok\n", "info xml ImgProc_ParseXMLMfnr start\n", "convert record"}});
    }
    const Events end_ = {"info xml configXml addr is [0x*]\n",
                         "info xml ImgProc_ParseXMLMfnr end, ret = 0\n",
                         "convert record",
                         "flush record",
                         "info exit func ParseXML_AcoreAPI_EIS\n",
                         "peer converter",
                         "peer invalidater",
                         "peer flusher"};
};

// A call that finds no record keeps the tree: the next one does not go to the disk.
TEST_F(TuningEntry, EachAddressNull) {
    write("");
    std::memset(record_.data(), 0xA5, record_.size());
    const Events failed = {"error ImgProc_ParseXMLMfnr configXml FunConvert2Addr convert addr error\n",
                           "info xml ImgProc_ParseXMLMfnr end, ret = -998\n"};
    const auto untouched = [&] {
        return std::all_of(record_.data(), record_.data() + record_.size(), [](uint8_t byte) { return byte == 0xA5; });
    };
    ASSERT_TRUE(g_xmlConfig.LoadConfig(file_.c_str()));
    eachAddressNull(
        space_, {{"record", retStsBadAddress, joined({loaded(), failed})}}, [&] { return load(); }, untouched);
    for (int run = 0; run < 2; ++run) {
        clearEvents();
        const ResourceWatch watch;
        EXPECT_EQ(load(), retStsOK);
        EXPECT_TRUE(eventsWere(joined({loaded(), end_})));
        EXPECT_EQ(watch.count(kFopen), 0);
    }
    clearEvents();
    EXPECT_EQ(load(nullptr), retStsBadAddress);
    Events noPath = opening("(null)", "");
    noPath.resize(3);
    EXPECT_TRUE(eventsWere(joined({noPath, {"error xmlFileName = (nil)"}})));
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
        SCOPED_TRACE(c.prefix);
        write("");
        EXPECT_EQ(load(), retStsOK);
        clearEvents();
        EXPECT_EQ(load(c.prefix.c_str()), retStsFileError);
        EXPECT_TRUE(eventsWere(notLoaded(c.prefix, c.name)));
        EXPECT_TRUE(IsNull(g_xmlConfig.root())) << "the earlier tree is gone";
        EXPECT_STREQ(g_xmlConfig.fileName(), "");
    }
    write("<a>&none;</a>");
    EXPECT_EQ(load(), retStsFileError);
    write("");
    EXPECT_EQ(load(), retStsOK) << "a name that did not load is not remembered";
    // A name beyond the buffer reaches LoadConfig only from a tool.
    EXPECT_FALSE(g_xmlConfig.LoadConfig(std::string(256, 'n').c_str()));
    EXPECT_STREQ(g_xmlConfig.fileName(), file_.c_str());
}

// A tree that is held is not searched for its keys again.
TEST_F(TuningEntry, SecondCallIsQuick) {
    std::string strangers;
    for (int i = 0; i < 100000; ++i) strangers += "<x/>";
    write(strangers);
    const auto timeOfCall = [&] {
        const std::clock_t start = std::clock();
        EXPECT_EQ(load(), retStsOK);
        return std::clock() - start;
    };
    const std::clock_t first = timeOfCall();
    EXPECT_LT(timeOfCall() * 4, first);
}

// Whatever cannot be allocated, the call ends with a record in which a key may be missing, or with no file. Memory ends
// at each call of the allocator and, by the length of a first text, at many places in a block.
TEST_F(TuningEntry, EachAllocationFailing) {
    const auto run = [&] {
        const int status = loadAfresh();
        forget();
        return status;
    };
    const auto failed = [&](int status, int /*nth*/) {
        EXPECT_TRUE(status == retStsFileError || status == retStsOK) << status;
        EXPECT_TRUE(eventsWere(status == retStsOK ? joined({loaded(), end_}) : notLoaded(prefix_, file_)));
        if (status != retStsOK) return;
        // What the file says, or the default; of a text that a comment parts also one half.
        for (const auto& [offset, value, standard] : {std::tuple{4, 3, 0}, {8, 4, -100}, {12, 5, 0}}) {
            EXPECT_TRUE(word(offset) == value || word(offset) == standard) << word(offset);
        }
        EXPECT_TRUE(word(2264) == 12 || (word(2264) >= 0 && word(2264) <= 2)) << word(2264);
    };
    const auto succeeded = [&](int status) {
        EXPECT_EQ(status, retStsOK);
        EXPECT_EQ(word(4), 3);
        EXPECT_EQ(word(2264), 12);
        EXPECT_EQ(at<float>(2288 + 32 + 40), 0.25F);
    };
    for (const size_t filling : std::views::iota(0, 50)) {
        SCOPED_TRACE(filling);
        write("<z>" + std::string(6000 + 43 * filling, 'z') +
              "</z><!-- c --><Global a='1' b><ExposureFusionFlag>1<!-- x -->2</ExposureFusionFlag></Global>"
              "<NoiseReduction><ISO1><lumaMed>3</lumaMed><lumaLF>4</lumaLF><lumaHF1>5</lumaHF1></ISO1></NoiseReduction>"
              "<SFNoiseReduction><ISO1><shading>0.25" +
              std::string(70, '0') + "</shading></ISO1></SFNoiseReduction>");
        const int allowed = filling % 2 == 0 ? 1 : INT_MAX;
        EXPECT_GT(failEachInTurn({kAllocation, [] {}, run, failed, succeeded, allowed}), 4);
    }
}

}  // namespace
}  // namespace eis::test
