// A file that holds every key of the format.
#pragma once

#include <sstream>
#include <string>

namespace eis::test {

inline std::string element(const std::string& name, const std::string& content) {
    std::ostringstream text;
    text << "<" << name << ">" << content << "</" << name << ">";
    return text.str();
}

// Each value is its own offset in the record, but for the strengths, which are clamped and have its last two digits.
// The names stand in the record's order, apart from the table of keys, so that a key in a wrong place shows.
inline std::string fullFile() {
    size_t at = 0;
    const auto keys = [&](const char* names, const char* sign, size_t modulus, const char* fraction) {
        std::istringstream list(names);
        std::string text;
        for (std::string name; list >> name; at += 4) {
            text += element(name, std::string(sign).append(std::to_string(at % modulus)).append(fraction));
        }
        return text;
    };
    const auto integers = [&](const char* names) { return keys(names, "", 10000, ""); };
    const auto table = [&](const char* name, int count, int step) {
        std::string text;
        for (int i = 0; i < count; ++i, at += step) text.append(" ").append(std::to_string(at));
        return element(name, text);
    };
    std::string noise;
    std::string ghosts;
    std::string sf;
    for (int level = 0; level < 8; ++level) {
        const std::string iso = std::string("ISO").append(std::to_string(level + 1));
        at = 280 * level;
        std::string text = integers(
            "isovalue lumaMed lumaLF lumaHF1 lumaHF2 lumaHF3 detail lumaMed_M lumaLF_M lumaHF1_M lumaHF2_M lumaHF3_M "
            "detail_M chromaS");
        text += table("chromaNrLUT", 40, 4);
        text += integers("lumaMed_BN lumaLF_BN lumaHF1_BN lumaHF2_BN lumaHF3_BN detail_BN chromaS_BN");
        noise += element(iso, text);
        ghosts += element(iso, integers("lumaTH_Low lumaTH_Low_M lumaTH_High lumaTH_High_M lumaNoiseTH lumaNoiseTH_M "
                                        "chromaTH_Low chromaTH_High chromaNoiseTH"));
        at = 2288 + 4 * level;
        text = integers("isovalue");
        at = 2320 + 90 * level + 4;
        text += integers("NoiseReducFlag ContrastEnhanceFlag SharpnessEnhanceFlag ColorManageFlag");
        text += keys("luma chroma lumaHF chromaHF detail", "-", 100, "");
        text += keys("shading percentLow percentHigh diffusion", "", 10000, ".25");
        text += table("alphaLUT", 17, 2);
        sf += element(iso, text);
    }
    at = 2240;
    std::string config = element("ChromaEnhancement", integers("enhancementLevel chromaDetail"));
    at = 2264;
    config += element("Global", integers("ExposureFusionFlag"));
    config += element("RouteSwitch", integers("DepthType ColorOnlyDisparity ColorOnlyPixelPercent ColorBaseDisparity "
                                              "ColorBasePixelPercent"));
    config += element("NoiseReduction", noise) + element("GhostDetection", ghosts) + element("SFNoiseReduction", sf);
    return std::string("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n").append(element("Config", config));
}

}  // namespace eis::test
