/* Parameter block of ParseXML_AcoreAPI_EIS and the record that it fills.

   The record is a wire format, little-endian, without padding: its fields are what a tuning file holds under /Config,
   each under the key of its own name. Values are transported, not interpreted, by this library. ISO levels 1 to 8 stand
   at indices 0 to 7. */
#ifndef TUNING_BLOCKS_H
#define TUNING_BLOCKS_H

#include "acore_types.h"

enum { kTuningIsoLevels = 8, kTuningChromaLutEntries = 40, kTuningAlphaLutEntries = 17, kTuningReservedBytes = 16 };

/* Keys of one ISO level: /Config/NoiseReduction/ISOn/NAME up to chromaS_BN, /Config/GhostDetection/ISOn/NAME from
   lumaTH_Low on. 280 bytes. */
typedef struct ST_CONFIG_XML_ISO {
    int32_t isovalue;
    int32_t lumaMed;
    int32_t lumaLF;
    int32_t lumaHF1;
    int32_t lumaHF2;
    int32_t lumaHF3;
    int32_t detail;
    int32_t lumaMed_M;
    int32_t lumaLF_M;
    int32_t lumaHF1_M;
    int32_t lumaHF2_M;
    int32_t lumaHF3_M;
    int32_t detail_M;
    int32_t chromaS;
    uint32_t chromaNrLUT[kTuningChromaLutEntries];
    int32_t lumaMed_BN;
    int32_t lumaLF_BN;
    int32_t lumaHF1_BN;
    int32_t lumaHF2_BN;
    int32_t lumaHF3_BN;
    int32_t detail_BN;
    int32_t chromaS_BN;
    int32_t lumaTH_Low;
    int32_t lumaTH_Low_M;
    int32_t lumaTH_High;
    int32_t lumaTH_High_M;
    int32_t lumaNoiseTH;
    int32_t lumaNoiseTH_M;
    int32_t chromaTH_Low;
    int32_t chromaTH_High;
    int32_t chromaNoiseTH;
} ST_CONFIG_XML_ISO;

#pragma pack(push, 1)

/* Keys of one ISO level: /Config/SFNoiseReduction/ISOn/NAME. 90 bytes, which is the stride too: 32-bit fields of every
   other level stand at addresses that are no multiple of 4. */
typedef struct ST_CONFIG_XML_SF_ISO {
    int32_t reserved; /* never written */
    int32_t NoiseReducFlag;
    int32_t ContrastEnhanceFlag;
    int32_t SharpnessEnhanceFlag;
    int32_t ColorManageFlag;
    int32_t luma; /* this and the four below: clamped to -100..0 */
    int32_t chroma;
    int32_t lumaHF;
    int32_t chromaHF;
    int32_t detail;
    float shading;
    float percentLow;
    float percentHigh;
    float diffusion;
    int16_t alphaLUT[kTuningAlphaLutEntries];
} ST_CONFIG_XML_SF_ISO;

/* 752 bytes. */
typedef struct ST_CONFIG_XML_SF {
    int32_t isovalue[kTuningIsoLevels];            /* /Config/SFNoiseReduction/ISOn/isovalue */
    ST_CONFIG_XML_SF_ISO astIso[kTuningIsoLevels]; /* the other keys, level by level */
} ST_CONFIG_XML_SF;

/* The record: 3040 bytes, which may stand at any address. */
typedef struct ST_CONFIG_XML {
    ST_CONFIG_XML_ISO astIso[kTuningIsoLevels]; /* /Config/NoiseReduction and /Config/GhostDetection */
    int32_t enhancementLevel;                   /* /Config/ChromaEnhancement */
    int32_t chromaDetail;
    uint8_t reserved[kTuningReservedBytes]; /* never written */
    int32_t ExposureFusionFlag;             /* /Config/Global */
    int32_t DepthType;                      /* this and the four below: /Config/RouteSwitch */
    int32_t ColorOnlyDisparity;
    int32_t ColorOnlyPixelPercent;
    int32_t ColorBaseDisparity;
    int32_t ColorBasePixelPercent;
    ST_CONFIG_XML_SF stSf; /* /Config/SFNoiseReduction */
} ST_CONFIG_XML;

/* ParseXML_AcoreAPI_EIS: 12 bytes. */
typedef struct ST_PARSE_XML_IN {
    DeviceAddress xmlInfo; /* the record to fill */
    const char* xmlPath;   /* a null-terminated prefix, usable as it stands, with its own trailing separator: the file
                              is xmlPath followed by "multiframe.xml", up to 255 characters together */
} ST_PARSE_XML_IN;

#pragma pack(pop)

/* Bytes at xmlInfo. */
static inline size_t eisSizeOfTuningRecord(void) {
    return sizeof(ST_CONFIG_XML);
}

#ifdef __cplusplus
#include <cstddef>

static_assert(sizeof(ST_CONFIG_XML_ISO) == 280 && offsetof(ST_CONFIG_XML_ISO, chromaNrLUT) == 56 &&
                  offsetof(ST_CONFIG_XML_ISO, lumaMed_BN) == 216 && offsetof(ST_CONFIG_XML_ISO, lumaTH_Low) == 244 &&
                  offsetof(ST_CONFIG_XML_ISO, chromaNoiseTH) == 276,
              "wire format");
static_assert(sizeof(ST_CONFIG_XML_SF_ISO) == 90 && offsetof(ST_CONFIG_XML_SF_ISO, luma) == 20 &&
                  offsetof(ST_CONFIG_XML_SF_ISO, shading) == 40 && offsetof(ST_CONFIG_XML_SF_ISO, alphaLUT) == 56,
              "wire format");
static_assert(sizeof(ST_CONFIG_XML_SF) == 752 && offsetof(ST_CONFIG_XML_SF, astIso) == 32, "wire format");
static_assert(sizeof(ST_CONFIG_XML) == 3040 && offsetof(ST_CONFIG_XML, enhancementLevel) == 2240 &&
                  offsetof(ST_CONFIG_XML, reserved) == 2248 && offsetof(ST_CONFIG_XML, ExposureFusionFlag) == 2264 &&
                  offsetof(ST_CONFIG_XML, ColorBasePixelPercent) == 2284 && offsetof(ST_CONFIG_XML, stSf) == 2288,
              "wire format");
static_assert(sizeof(ST_PARSE_XML_IN) == 4 + sizeof(const char*) && offsetof(ST_PARSE_XML_IN, xmlPath) == 4,
              "wire format");
#endif

#endif
