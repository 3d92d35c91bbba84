#include "host/dsp/key_meanings.h"

#include <algorithm>
#include <limits>
#include <sstream>
#include <stdexcept>

#include "host/dsp/record_values.h"

namespace eishost {

namespace {

constexpr double kNoEnd = std::numeric_limits<double>::infinity();
// A threshold of the chroma wavelet is a signed 16-bit number: a quarter of a table's word times at least 4, which is
// the gain of the weakest chromaS that filters.
constexpr double kLargestWord = 32767;

constexpr char kNoise[] = "NoiseReduction";
constexpr char kGhost[] = "GhostDetection";
constexpr char kRoute[] = "RouteSwitch";
constexpr char kSf[] = "SFNoiseReduction";

constexpr KeyMeaning kMeanings[] = {
    {kNoise, "isovalue", "ISO", 1, kNoEnd, "sensitivity that the row is for, rising from row to row"},
    {kNoise, "lumaMed", "switch", 0, 1, "1: a 3x3 median of luma first"},
    {kNoise, "lumaLF", "strength", -100, 0, "smoothing of luma's low frequencies, -100 none, 0 most"},
    {kNoise, "lumaHF1", "strength", -128, 0, "shrinkage of luma's detail, -128 none, 0 most"},
    {kNoise, "lumaHF2", "strength", -kNoEnd, kNoEnd, "for the DSP; no pass of the library reads it"},
    {kNoise, "lumaHF3", "strength", -kNoEnd, kNoEnd, "for the DSP; no pass of the library reads it"},
    {kNoise, "detail", "strength", -128, 0, "how little of luma's texture comes back, -128 most of it, from -46 least"},
    {kNoise, "chromaS", "strength", -100, 0,
     "chroma's thresholds, -100 none, 0 most; from -61 edges are guarded less, from -39 least"},
    {kNoise, "chromaNrLUT", "threshold", 0, kLargestWord,
     "chroma's thresholds by plane (2), wavelet level (5), class of value (4): "
     "512 T / trunc(0.4 (chromaS + 100)) for T levels"},

    {"ChromaEnhancement", "enhancementLevel", "level", 0, kNoEnd, "level of chroma enhancement, for the DSP"},
    {"ChromaEnhancement", "chromaDetail", "", -kNoEnd, kNoEnd, "for the DSP"},
    {"Global", "ExposureFusionFlag", "switch", 0, 1, "exposure fusion, for the DSP"},

    {kGhost, "lumaTH_Low", "levels", 0, 255, "difference of luma that makes a ghost, on samples below lumaNoiseTH"},
    {kGhost, "lumaTH_High", "levels", 0, 255, "difference of luma that makes a ghost, from lumaNoiseTH up"},
    {kGhost, "lumaNoiseTH", "level", 0, kNoEnd, "sample value where lumaTH_High takes over; from 256 nowhere"},
    {kGhost, "chromaTH_Low", "levels", 0, 255,
     "difference of chroma that makes a ghost, on samples below chromaNoiseTH"},
    {kGhost, "chromaTH_High", "levels", 0, 255, "difference of chroma that makes a ghost, from chromaNoiseTH up"},
    {kGhost, "chromaNoiseTH", "level", 0, kNoEnd, "sample value where chromaTH_High takes over; from 256 nowhere"},

    {kRoute, "DepthType", "code", -kNoEnd, kNoEnd, "kind of depth, for the DSP"},
    {kRoute, "ColorOnlyDisparity", "pixels", 0, kNoEnd, "disparity of the colour-only route, for the DSP"},
    {kRoute, "ColorOnlyPixelPercent", "%", 0, 100, "share of the pixels in the colour-only route, for the DSP"},
    {kRoute, "ColorBaseDisparity", "pixels", 0, kNoEnd, "disparity of the colour-based route, for the DSP"},
    {kRoute, "ColorBasePixelPercent", "%", 0, 100, "share of the pixels in the colour-based route, for the DSP"},

    {kSf, "isovalue", "ISO", 1, kNoEnd, "sensitivity that the row is for, rising from row to row"},
    {kSf, "NoiseReducFlag", "switch", 0, 1, "noise reduction, for the DSP"},
    {kSf, "ContrastEnhanceFlag", "switch", 0, 1, "contrast enhancement, for the DSP"},
    {kSf, "SharpnessEnhanceFlag", "switch", 0, 1, "sharpening, for the DSP"},
    {kSf, "ColorManageFlag", "switch", 0, 1, "colour management, for the DSP"},
    {kSf, "luma", "strength", -100, 0, "noise reduction of luma, -100 none, for the DSP"},
    {kSf, "chroma", "strength", -100, 0, "noise reduction of chroma, -100 least, for the DSP"},
    {kSf, "lumaHF", "strength", -100, 0, "noise reduction of luma's detail, for the DSP"},
    {kSf, "chromaHF", "strength", -100, 0, "noise reduction of chroma's detail, for the DSP"},
    {kSf, "detail", "strength", -100, 0, "luma's texture that comes back, for the DSP"},
    {kSf, "shading", "factor", 0, kNoEnd, "factor on chroma's strength in shaded places, for the DSP"},
    {kSf, "percentLow", "share", 0, 1, "lower of two shares, for the DSP"},
    {kSf, "percentHigh", "share", 0, 1, "upper of two shares, for the DSP"},
    {kSf, "diffusion", "factor", 0, kNoEnd, "strength of a diffusion, for the DSP"},
    {kSf, "alphaLUT", "", -kNoEnd, kNoEnd, "a curve of 17 points, for the DSP"},

    {kCallSection, "lumaNrEnable", "switch", 0, 1, "0 leaves luma alone"},
    {kCallSection, "chromaNrEnable", "switch", 0, 1, "0 leaves chroma alone"},
    {kCallSection, "chromaEdgeLevel", "level", 0, 255,
     "above 64 luma's edges guard chroma, too; from 201 chromaGainIndex counts one less"},
    {kCallSection, "chromaGainIndex", "index", 0, 9, "gain of saturation, 1 mild to 9 strong, 0 none"},
    {kCallSection, "chromaEdgeAlpha", "of 255", 0, 255, "on edges, denoised chroma's weight against its low-pass"},
    {kCallSection, "iirImgCount", "images", 0, 9, "images behind the motion mask, for the low-level chroma call alone"},
};

std::string spelt(double value) {
    std::ostringstream text;
    text.precision(10);
    text << value;
    return text.str();
}

}  // namespace

std::string KeyMeaning::range() const {
    if (low == -kNoEnd) return "any";
    return high == kNoEnd ? spelt(low) + " up" : spelt(low) + " to " + spelt(high);
}

std::span<const KeyMeaning> keyMeanings() {
    return kMeanings;
}

KeySet keySet(std::string_view name) {
    for (const std::string_view ending : {"_BN", "_M"}) {
        if (name.ends_with(ending)) return {name.substr(0, name.size() - ending.size()), ending};
    }
    return {name, ""};
}

const KeyMeaning& meaningOf(std::string_view section, std::string_view name) {
    const std::string_view plain = keySet(name).name;
    const auto found = std::find_if(std::begin(kMeanings), std::end(kMeanings), [&](const KeyMeaning& meaning) {
        return section == meaning.section && plain == meaning.name;
    });
    if (found == std::end(kMeanings)) throw std::logic_error("no meaning of " + std::string(name));
    return *found;
}

std::optional<std::string> rangeNote(std::string_view section, std::string_view name, double value) {
    const KeyMeaning& meaning = meaningOf(section, name);
    if (meaning.isUseful(value)) return std::nullopt;
    return std::string(name) + " " + spelt(value) + " is outside the useful range, " + meaning.range() + " (" +
           meaning.meaning + ")";
}

std::vector<int> rowsOutOfOrder(const ST_CONFIG_XML& record, std::string_view section) {
    std::vector<int> rows;
    double before = 0;
    bool wasDefault = true;
    for (const eis::TuningKey& key : eis::kTuningKeys) {
        if (section != key.section || std::string_view(key.name) != "isovalue") continue;
        const double value = recordValue(record, key);
        const bool isDefault = value == key.defaultValue;
        if (key.iso > 1 && value <= before && !(isDefault && wasDefault)) rows.push_back(key.iso);
        before = value;
        wasDefault = isDefault;
    }
    return rows;
}

}  // namespace eishost
