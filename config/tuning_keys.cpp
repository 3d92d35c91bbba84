#include "config/tuning_keys.h"

#include <algorithm>
#include <cstddef>

namespace eis {

namespace {

constexpr int32_t kUnclampedLow = std::numeric_limits<int32_t>::min();
constexpr int32_t kUnclampedHigh = std::numeric_limits<int32_t>::max();

// A key, or one key a level in a section with ISO levels.
struct Field {
    const char* name;
    TuningType type;
    int32_t count;
    int32_t offset;     // in the record, of the first level
    int32_t isoStride;  // from level to level in the record, 0 in a section without levels
    double defaultValue;
    const int32_t* isoDefaults = nullptr;  // where the levels differ
    int32_t lowest = kUnclampedLow;
    int32_t highest = kUnclampedHigh;
};

constexpr int32_t kNoiseReductionIsoValues[kTuningIsoLevels] = {50, 200, 400, 800, 1600, 2400, 3200, 4950};

// A field's name is its key's name. The macros take it once and make both of it.
#define EIS_ISO_KEY(field, standard) \
    { #field, TuningType::int32, 1, offsetof(ST_CONFIG_XML, astIso[0].field), sizeof(ST_CONFIG_XML_ISO), standard }
#define EIS_TAIL_KEY(field, standard) \
    { #field, TuningType::int32, 1, offsetof(ST_CONFIG_XML, field), 0, standard }
#define EIS_SF_KEY(field, type, count, standard) \
    { #field, type, count, offsetof(ST_CONFIG_XML, stSf.astIso[0].field), sizeof(ST_CONFIG_XML_SF_ISO), standard }
#define EIS_SF_STRENGTH(field, standard)                                                                           \
    {                                                                                                              \
#field, TuningType::int32, 1, offsetof(ST_CONFIG_XML, stSf.astIso[0].field), sizeof(ST_CONFIG_XML_SF_ISO), \
            standard, nullptr, -100, 0                                                                             \
    }

constexpr Field kNoiseReduction[] = {
    {"isovalue", TuningType::int32, 1, offsetof(ST_CONFIG_XML, astIso[0].isovalue), sizeof(ST_CONFIG_XML_ISO), 0,
     kNoiseReductionIsoValues},
    EIS_ISO_KEY(lumaMed, 0),
    EIS_ISO_KEY(lumaLF, -100),
    EIS_ISO_KEY(lumaHF1, 0),
    EIS_ISO_KEY(lumaHF2, 0),
    EIS_ISO_KEY(lumaHF3, 0),
    EIS_ISO_KEY(detail, -128),
    EIS_ISO_KEY(lumaMed_M, 0),
    EIS_ISO_KEY(lumaLF_M, -100),
    EIS_ISO_KEY(lumaHF1_M, 0),
    EIS_ISO_KEY(lumaHF2_M, 0),
    EIS_ISO_KEY(lumaHF3_M, 0),
    EIS_ISO_KEY(detail_M, -128),
    EIS_ISO_KEY(chromaS, -90),
    {"chromaNrLUT", TuningType::uint32Array, kTuningChromaLutEntries, offsetof(ST_CONFIG_XML, astIso[0].chromaNrLUT),
     sizeof(ST_CONFIG_XML_ISO), 0},
    EIS_ISO_KEY(lumaMed_BN, 0),
    EIS_ISO_KEY(lumaLF_BN, -100),
    EIS_ISO_KEY(lumaHF1_BN, 0),
    EIS_ISO_KEY(lumaHF2_BN, 0),
    EIS_ISO_KEY(lumaHF3_BN, 0),
    EIS_ISO_KEY(detail_BN, -128),
    EIS_ISO_KEY(chromaS_BN, -90),
};

constexpr Field kChromaEnhancement[] = {EIS_TAIL_KEY(enhancementLevel, 2), EIS_TAIL_KEY(chromaDetail, 154)};

constexpr Field kGlobal[] = {EIS_TAIL_KEY(ExposureFusionFlag, 0)};

constexpr Field kGhostDetection[] = {
    EIS_ISO_KEY(lumaTH_Low, 30),    EIS_ISO_KEY(lumaTH_High, 100),   EIS_ISO_KEY(lumaNoiseTH, 100),
    EIS_ISO_KEY(lumaTH_Low_M, 30),  EIS_ISO_KEY(lumaTH_High_M, 100), EIS_ISO_KEY(lumaNoiseTH_M, 100),
    EIS_ISO_KEY(chromaTH_Low, 100), EIS_ISO_KEY(chromaTH_High, 100), EIS_ISO_KEY(chromaNoiseTH, 2550),
};

constexpr Field kRouteSwitch[] = {
    EIS_TAIL_KEY(DepthType, 0),
    EIS_TAIL_KEY(ColorOnlyDisparity, 10),
    EIS_TAIL_KEY(ColorOnlyPixelPercent, 30),
    EIS_TAIL_KEY(ColorBaseDisparity, 10),
    EIS_TAIL_KEY(ColorBasePixelPercent, 10),
};

constexpr Field kSfNoiseReduction[] = {
    {"isovalue", TuningType::int32, 1, offsetof(ST_CONFIG_XML, stSf.isovalue), sizeof(int32_t), 256},
    EIS_SF_KEY(NoiseReducFlag, TuningType::int32, 1, 1),
    EIS_SF_KEY(ContrastEnhanceFlag, TuningType::int32, 1, 1),
    EIS_SF_KEY(SharpnessEnhanceFlag, TuningType::int32, 1, 1),
    EIS_SF_KEY(ColorManageFlag, TuningType::int32, 1, 1),
    EIS_SF_STRENGTH(luma, -100),
    EIS_SF_STRENGTH(chroma, -70),
    EIS_SF_STRENGTH(lumaHF, -80),
    EIS_SF_STRENGTH(chromaHF, -80),
    EIS_SF_STRENGTH(detail, -100),
    EIS_SF_KEY(shading, TuningType::float32, 1, 1.0),
    EIS_SF_KEY(percentLow, TuningType::float32, 1, 0.2),
    EIS_SF_KEY(percentHigh, TuningType::float32, 1, 0.8),
    EIS_SF_KEY(diffusion, TuningType::float32, 1, 0.0),
    EIS_SF_KEY(alphaLUT, TuningType::int16Array, kTuningAlphaLutEntries, 0),
};

#undef EIS_ISO_KEY
#undef EIS_TAIL_KEY
#undef EIS_SF_KEY
#undef EIS_SF_STRENGTH

constexpr int32_t kSfKeyCount = kTuningIsoLevels * static_cast<int32_t>(std::size(kSfNoiseReduction));

struct KeyList {
    std::array<TuningKey, kTuningKeyCount> keys{};
    int count = 0;

    constexpr void addKey(const char* section, const Field& field, int32_t iso) {
        TuningKey& key = keys[count++];
        size_t length = 0;
        const auto append = [&](const char* text) {
            while (*text != '\0') key.path[length++] = *text++;
        };
        append("/Config/");
        append(section);
        append("/");
        if (iso > 0) {
            const char level[] = {'I', 'S', 'O', static_cast<char>('0' + iso), '/', '\0'};
            append(level);
        }
        append(field.name);
        key.section = section;
        key.name = field.name;
        key.iso = iso;
        key.type = field.type;
        key.count = field.count;
        key.offset = field.offset + (iso > 0 ? (iso - 1) * field.isoStride : 0);
        key.defaultValue = field.isoDefaults != nullptr ? field.isoDefaults[iso - 1] : field.defaultValue;
        key.lowest = field.lowest;
        key.highest = field.highest;
    }

    template <size_t N>
    constexpr void addLevels(const char* section, const Field (&fields)[N]) {
        for (int32_t iso = 1; iso <= kTuningIsoLevels; ++iso) {
            for (const Field& field : fields) addKey(section, field, iso);
        }
    }

    template <size_t N>
    constexpr void addPlain(const char* section, const Field (&fields)[N]) {
        for (const Field& field : fields) addKey(section, field, 0);
    }
};

constexpr KeyList makeKeys() {
    KeyList list;
    list.addLevels("NoiseReduction", kNoiseReduction);
    list.addPlain("ChromaEnhancement", kChromaEnhancement);
    list.addPlain("Global", kGlobal);
    list.addLevels("GhostDetection", kGhostDetection);
    list.addPlain("RouteSwitch", kRouteSwitch);
    list.addLevels("SFNoiseReduction", kSfNoiseReduction);
    return list;
}

static_assert(makeKeys().count == kTuningKeyCount);
static_assert(std::max(std::size(kNoiseReduction), std::size(kSfNoiseReduction)) <= kTuningWidth);

}  // namespace

constinit const std::array<TuningKey, kTuningKeyCount> kTuningKeys = makeKeys().keys;

std::span<const TuningKey> stagedTuningKeys() {
    return std::span(kTuningKeys).first(kTuningKeyCount - kSfKeyCount);
}

std::span<const TuningKey> sfTuningKeys() {
    return std::span(kTuningKeys).last(kSfKeyCount);
}

}  // namespace eis
