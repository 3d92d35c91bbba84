// ParseXML_AcoreAPI_EIS.
#include "bounded/bounded_format.h"
#include "config/tuning_load.h"
#include "include/acore_api.h"
#include "libCore/core/source/frame/export.h"
#include "libCore/core/source/frame/log.h"
#include "libCore/core/source/frame/peer_api.h"
#include "libCore/core/source/frame/slots.h"
#include "libCore/core/source/frame/version.h"
#include "libCore/core/source/frame/wire.h"

namespace eis {

namespace {

constexpr char kEntry[] = "ParseXML_AcoreAPI_EIS";

// Fills the record at a device address from the loaded file.
ret_status fillRecord(DeviceAddress xmlInfo) {
    auto* configXml = convertTo<ST_CONFIG_XML>(xmlInfo);
    if (configXml == nullptr) {
        EIS_LOG_ERROR("ImgProc_ParseXMLMfnr configXml FunConvert2Addr convert addr error\n");
        return retStsBadAddress;
    }
    return ImgProc_ParseXMLMfnr(g_xmlConfig, configXml);
}

}  // namespace

}  // namespace eis

using namespace eis;

EIS_EXPORT ret_status ParseXML_AcoreAPI_EIS(const ST_PARSE_XML_IN* block) {
    LogVersion();
    EIS_LOG_INFO("enter func %s\n", kEntry);
    const auto words = loadUnaligned<ST_PARSE_XML_IN>(block);
    EIS_LOG_INFO("XML file path is [%s], the xmlInfo Addr is[%d]\n", printable(words.xmlPath),
                 static_cast<int>(words.xmlInfo));
    if (words.xmlPath == nullptr) {
        EIS_LOG_ERROR("xmlFileName = %p", static_cast<const void*>(words.xmlPath));
        return retStsBadAddress;
    }
    // A prefix that is too long leaves the empty name, which does not load.
    char name[XmlConfig::kFileNameSize];
    (void)snprintf_s(name, sizeof name, sizeof name, "%smultiframe.xml", words.xmlPath);
    EIS_LOG_INFO("XML file name:%s\n", name);
    EIS_LOG_INFO("xml LoadConfig start\n");
    if (!g_xmlConfig.LoadConfig(name)) {
        EIS_LOG_INFO("xml XmlConfig.LoadConfig failed\n");
        return retStsFileError;
    }
    EIS_LOG_INFO("xml LoadConfig ok\n");
    EIS_LOG_INFO("xml ImgProc_ParseXMLMfnr start\n");
    const ret_status status = fillRecord(words.xmlInfo);
    EIS_LOG_INFO("xml ImgProc_ParseXMLMfnr end, ret = %d\n", status);
    if (status != retStsOK) return status;

    flushDeviceAddress(words.xmlInfo);
    EIS_LOG_INFO("exit func %s\n", kEntry);
    peerSetIO2VAConverter(g_convert2Addr.load(std::memory_order_acquire));
    peerSetGraphicBufferInvalidater(g_invalidBuff.load(std::memory_order_acquire));
    peerSetGraphicBufferFlusher(g_flushBuff.load(std::memory_order_acquire));
    return retStsOK;
}
