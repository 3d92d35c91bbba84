// A host that loads tuning files: a folder, a record buffer at an odd address, and a clean process for each test.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "config/tuning_load.h"
#include "config/xml_encoding.h"
#include "include/acore_api.h"
#include "libCore/core/source/frame/slots.h"
#include "libCore/core/source/frame/wire.h"
#include "tests/harness/device_space.h"
#include "tests/harness/files.h"
#include "tests/harness/planes.h"

namespace eis::test {

class TuningLoad : public testing::Test {
  protected:
    TuningLoad() { recordAddress_ = space_.add("record", record_.data(), record_.size()); }
    ~TuningLoad() override { forget(); }

    // As at the start of the process.
    static void forget() {
        g_xmlConfig = XmlConfig();
        g_tuningStaging = {};
        setXmlEncoding(kXmlUtf8);
    }

    // A file with these keys below /Config, long enough for the reader.
    void write(const std::string& keys) const {
        writeFile(file_, "<?xml version=\"1.0\"?>\n<Config>" + keys + "</Config><!--" + std::string(200, '.') + "-->");
    }

    ret_status load(const char* prefix) const {
        const ST_PARSE_XML_IN block{recordAddress_, prefix};
        return ParseXML_AcoreAPI_EIS(&block);
    }
    ret_status load() const { return load(prefix_.c_str()); }
    // Into a buffer with no trace of an earlier record.
    ret_status loadAfresh() const {
        std::memset(record_.data(), 0xA5, record_.size());
        return load();
    }

    template <class T>
    T at(size_t offset) const {
        return loadUnaligned<T>(record_.data() + offset);
    }
    int32_t word(size_t offset) const { return at<int32_t>(offset); }

    TempFolder folder_;
    std::string prefix_ = folder_.path("");
    std::string file_ = folder_.path("multiframe.xml");
    GuardedMemory record_{sizeof(ST_CONFIG_XML), {Placement::kAtEnd, 1}};
    DeviceSpace space_;
    DeviceAddress recordAddress_ = 0;
};

}  // namespace eis::test
