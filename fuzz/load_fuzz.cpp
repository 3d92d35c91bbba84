// The load of any file into the record: it ends, and every key's value is what its origin says.
//
// Blanks behind the input carry it over the smallest size of a file.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "config/tuning_load.h"
#include "config/xml_encoding.h"
#include "fuzz/check.h"
#include "fuzz/memory_file.h"
#include "host/lab/tuning_origin.h"
#include "libCore/core/source/frame/wire.h"

namespace {

using namespace eis;

void checkNumber(const TuningKey& key, const TuningOrigin& origin, const uint8_t* at) {
    const bool isDefault = origin.source != TuningSource::file;
    if (key.type == TuningType::float32) {
        const auto value = loadUnaligned<float>(at);
        if (isDefault) FUZZ_CHECK(value == static_cast<float>(key.defaultValue));
        return;
    }
    const auto value = loadUnaligned<int32_t>(at);
    FUZZ_CHECK(value >= key.lowest && value <= key.highest);
    if (isDefault) FUZZ_CHECK(value == static_cast<int32_t>(key.defaultValue));
    if (origin.isClamped) {
        FUZZ_CHECK(value == key.lowest || value == key.highest || value == INT32_MIN || value == INT32_MAX);
    }
}

void checkTable(const TuningKey& key, const TuningOrigin& origin, const uint8_t* at) {
    const size_t element = key.type == TuningType::int16Array ? sizeof(int16_t) : sizeof(uint32_t);
    FUZZ_CHECK(origin.stored >= 0 && origin.stored <= key.count);
    for (size_t i = origin.stored * element; i < key.count * element; ++i) FUZZ_CHECK(at[i] == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const eisfuzz::MemoryFile file("multiframe.xml");
    std::string content(reinterpret_cast<const char*>(data), size);
    content.append(kXmlSmallestFile, ' ');
    file.set(content);
    setXmlEncoding(kXmlUtf8);
    g_tuningStaging = {};

    XmlConfig config;
    XmlFileReport report;
    if (!config.LoadConfig(file.path().c_str(), &report)) {
        FUZZ_CHECK(report.outcome == XmlFileOutcome::parseError && config.fileName()[0] == '\0');
        return 0;
    }
    FUZZ_CHECK(report.outcome == XmlFileOutcome::loaded);

    // At an odd address, with a border that must stay.
    uint8_t buffer[sizeof(ST_CONFIG_XML) + 2];
    std::memset(buffer, 0xA5, sizeof buffer);
    uint8_t* record = buffer + 1;
    FUZZ_CHECK(ImgProc_ParseXMLMfnr(config, reinterpret_cast<ST_CONFIG_XML*>(record)) == retStsOK);
    FUZZ_CHECK(buffer[0] == 0xA5 && buffer[sizeof buffer - 1] == 0xA5);
    for (const TuningKey& key : kTuningKeys) {
        const TuningOrigin origin = traceTuningKey(config, key);
        FUZZ_CHECK(origin.element == FindXmlNode(config.root(), key.path).body());
        if (key.isArray()) {
            checkTable(key, origin, record + key.offset);
        } else {
            checkNumber(key, origin, record + key.offset);
        }
    }
    return 0;
}
