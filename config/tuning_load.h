// The tuning file: its load, the readers of its values, and the record made of them.
//
// The document and the staging record are process-wide and unprotected: no two loads at once.
#pragma once

#include <cstddef>
#include <cstdint>

#include "config/tuning_elements.h"
#include "config/xml_file.h"
#include "config/xml_node.h"
#include "include/acore_types.h"
#include "include/tuning_blocks.h"

namespace eis {

// A loaded file: the root of its tree, its name, and where its keys stand. A copy shares the tree.
class XmlConfig {
  public:
    static constexpr size_t kFileNameSize = 256;

    // Loads a file unless it is the one that is held, which is then not read again. True when a tree is held. A name of
    // 256 characters or more is false and changes nothing; a file that does not load leaves neither tree nor name.
    // report, where not null, is filled when the disk is read.
    bool LoadConfig(const char* fileName, XmlFileReport* report = nullptr);

    const XmlNode& root() const { return root_; }
    const char* fileName() const { return fileName_; }
    const XmlNodeBody* element(const TuningKey& key) const { return elements_.of(key); }

  private:
    XmlNode root_;
    char fileName_[kFileNameSize] = {};
    TuningElements elements_;
};

// ST_CONFIG_XML without its reserved bytes and without the SF block. What a short array does not reach keeps what the
// load before left here.
struct TuningStaging {
    ST_CONFIG_XML_ISO astIso[kTuningIsoLevels];
    int32_t enhancementLevel;
    int32_t chromaDetail;
    int32_t ExposureFusionFlag;
    int32_t DepthType;
    int32_t ColorOnlyDisparity;
    int32_t ColorOnlyPixelPercent;
    int32_t ColorBaseDisparity;
    int32_t ColorBasePixelPercent;
};

extern XmlConfig g_xmlConfig;
extern TuningStaging g_tuningStaging;

// The first text at a path as one number. The default when there is no text, or no number at its head. An integer out
// of range becomes the nearest limit.
int32_t ReadXmlInt(const XmlConfig& config, const char* path, int32_t standard);
float ReadXmlFloat(const XmlConfig& config, const char* path, float standard);
const char* ReadXmlText(const XmlConfig& config, const char* path, const char* standard);

// The first text at a path as white-space separated numbers, by the rules of decimal_stream.h. 1 when there is a text,
// else 0 with dest untouched.
int32_t ReadXmlShortArray(const XmlConfig& config, const char* path, int16_t* dest, int32_t count);
int32_t ReadXmlIntArray(const XmlConfig& config, const char* path, int32_t* dest, int32_t count);
int32_t ReadXmlUIntArray(const XmlConfig& config, const char* path, uint32_t* dest, int32_t count);
int32_t ReadXmlFloatArray(const XmlConfig& config, const char* path, float* dest, int32_t count);

// Read every key of tuning_keys.h, the first into the staging record, the second straight into the record's SF block,
// which may stand at any address. Always 0.
ret_status ReadNoiseReductionKeys(const XmlConfig& config);
ret_status ReadSFNoiseReductionKeys(const XmlConfig& config, ST_CONFIG_XML_SF* block);
// Copies the staging record into the record, which may stand at any address; its reserved bytes and its SF block stay.
void CopyTuningToConfigXml(ST_CONFIG_XML* configXml);

// The whole record of a loaded file. Always 0.
ret_status ImgProc_ParseXMLMfnr(XmlConfig config, ST_CONFIG_XML* configXml);

}  // namespace eis
