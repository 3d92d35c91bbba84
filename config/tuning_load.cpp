#include "config/tuning_load.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "bounded/bounded_memory.h"
#include "bounded/bounded_scan.h"
#include "bounded/bounded_string.h"
#include "config/decimal_stream.h"
#include "config/tuning_keys.h"
#include "libCore/core/source/frame/log.h"
#include "libCore/core/source/frame/wire.h"

namespace eis {

namespace {

static_assert(sizeof(TuningStaging) == sizeof(ST_CONFIG_XML) - sizeof(ST_CONFIG_XML_SF) - kTuningReservedBytes);
static_assert(offsetof(TuningStaging, ExposureFusionFlag) == offsetof(ST_CONFIG_XML, reserved));

template <class T>
int32_t readArray(const char* text, T* dest, int32_t count) {
    if (text == nullptr) return 0;
    (void)readDecimals(text, dest, count);
    return 1;
}

int32_t readInt(const char* text, int32_t standard) {
    int value = 0;
    return sscanf_s(text, "%d", &value) == 1 ? value : standard;
}

float readFloat(const char* text, float standard) {
    float value = 0;
    return sscanf_s(text, "%f", &value) == 1 ? value : standard;
}

// Reads a key of one number; dest may stand at any address.
void readNumber(const XmlConfig& config, const TuningKey& key, uint8_t* dest) {
    const char* text = FirstText(config.element(key));
    if (key.type == TuningType::float32) {
        storeUnaligned(dest, readFloat(text, static_cast<float>(key.defaultValue)));
    } else {
        const int32_t value = readInt(text, static_cast<int32_t>(key.defaultValue));
        storeUnaligned(dest, std::clamp(value, key.lowest, key.highest));
    }
}

// The staging record closes the gap of the reserved bytes.
size_t stagingOffset(const TuningKey& key) {
    const auto offset = static_cast<size_t>(key.offset);
    return offset < offsetof(ST_CONFIG_XML, reserved) ? offset : offset - kTuningReservedBytes;
}

}  // namespace

constinit XmlConfig g_xmlConfig;
constinit TuningStaging g_tuningStaging{};

bool XmlConfig::LoadConfig(const char* fileName, XmlFileReport* report) {
    if (std::strlen(fileName) >= kFileNameSize) return false;
    if (std::strcmp(fileName, fileName_) != 0) {
        // The old tree goes before the new one comes: there is memory for one.
        root_ = XmlNode();
        root_ = LoadXmlFile(fileName, report);
        elements_ = TuningElements(root_);
        (void)memset_s(fileName_, kFileNameSize, 0, kFileNameSize);
        if (!IsNull(root_)) (void)strcpy_s(fileName_, kFileNameSize, fileName);
    }
    return !IsNull(root_);
}

int32_t ReadXmlInt(const XmlConfig& config, const char* path, int32_t standard) {
    return readInt(ReadXmlText(config, path, nullptr), standard);
}

float ReadXmlFloat(const XmlConfig& config, const char* path, float standard) {
    return readFloat(ReadXmlText(config, path, nullptr), standard);
}

const char* ReadXmlText(const XmlConfig& config, const char* path, const char* standard) {
    const char* text = FirstText(FindXmlNode(config.root(), path));
    return text != nullptr ? text : standard;
}

int32_t ReadXmlShortArray(const XmlConfig& config, const char* path, int16_t* dest, int32_t count) {
    return readArray(ReadXmlText(config, path, nullptr), dest, count);
}
int32_t ReadXmlIntArray(const XmlConfig& config, const char* path, int32_t* dest, int32_t count) {
    return readArray(ReadXmlText(config, path, nullptr), dest, count);
}
int32_t ReadXmlUIntArray(const XmlConfig& config, const char* path, uint32_t* dest, int32_t count) {
    return readArray(ReadXmlText(config, path, nullptr), dest, count);
}
int32_t ReadXmlFloatArray(const XmlConfig& config, const char* path, float* dest, int32_t count) {
    return readArray(ReadXmlText(config, path, nullptr), dest, count);
}

ret_status ReadNoiseReductionKeys(const XmlConfig& config) {
    auto* staging = reinterpret_cast<uint8_t*>(&g_tuningStaging);
    for (const TuningKey& key : stagedTuningKeys()) {
        if (key.isArray()) {
            uint32_t* table = g_tuningStaging.astIso[key.iso - 1].chromaNrLUT;
            if (readArray(FirstText(config.element(key)), table, key.count) == 0)
                (void)memset_s(table, sizeof g_tuningStaging.astIso[0].chromaNrLUT, 0, sizeof(uint32_t) * key.count);
        } else {
            readNumber(config, key, staging + stagingOffset(key));
        }
    }
    return retStsOK;
}

ret_status ReadSFNoiseReductionKeys(const XmlConfig& config, ST_CONFIG_XML_SF* block) {
    auto* bytes = reinterpret_cast<uint8_t*>(block);
    for (const TuningKey& key : sfTuningKeys()) {
        uint8_t* dest = bytes + (static_cast<size_t>(key.offset) - offsetof(ST_CONFIG_XML, stSf));
        if (key.isArray()) {
            int16_t table[kTuningAlphaLutEntries] = {};
            (void)readArray(FirstText(config.element(key)), table, key.count);
            (void)memcpy_s(dest, sizeof table, table, sizeof table);
        } else {
            readNumber(config, key, dest);
        }
    }
    return retStsOK;
}

void CopyTuningToConfigXml(ST_CONFIG_XML* configXml) {
    constexpr size_t kHead = offsetof(ST_CONFIG_XML, reserved);
    constexpr size_t kTail = sizeof(TuningStaging) - kHead;
    auto* record = reinterpret_cast<uint8_t*>(configXml);
    const auto* staging = reinterpret_cast<const uint8_t*>(&g_tuningStaging);
    (void)memcpy_s(record, kHead, staging, kHead);
    (void)memcpy_s(record + kHead + kTuningReservedBytes, kTail, staging + kHead, kTail);
}

ret_status ImgProc_ParseXMLMfnr(XmlConfig config, ST_CONFIG_XML* configXml) {
    const XmlConfig document = std::move(config);
    ret_status status = ReadNoiseReductionKeys(document);
    if (status == retStsOK) status = ReadSFNoiseReductionKeys(document, &configXml->stSf);
    if (status != retStsOK) {
        EIS_LOG_INFO("xml file parse failed %d\n", status);
        return status;
    }
    EIS_LOG_INFO("xml configXml addr is [%p]\n", static_cast<void*>(configXml));
    CopyTuningToConfigXml(configXml);
    return retStsOK;
}

}  // namespace eis
