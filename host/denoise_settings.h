// The settings of the denoise entries, as a user gives them.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <vector>

#include "acore_api.h"

namespace eishost {

struct DenoiseSettings;

struct DenoiseKey {
    const char* name;
    std::int32_t DenoiseSettings::*value;
    std::int32_t min;
    std::int32_t max;
    bool inRow;  // a tuning file has it in its rows
    const char* meaning;
};

// What a key has that is not given: no luma denoising, and as little of chroma as the entries can do.
struct DenoiseSettings {
    std::int32_t lumaMed = 0;
    std::int32_t lumaLF = -100;
    std::int32_t lumaHF1 = -128;
    std::int32_t lumaHF2 = 0;
    std::int32_t lumaHF3 = 0;
    std::int32_t detail = -128;
    std::int32_t chromaS = -90;
    std::vector<std::uint32_t> chromaNrLUT = std::vector<std::uint32_t>(kTuningChromaLutEntries);
    std::int32_t lumaNrEnable = 1;
    std::int32_t chromaNrEnable = 1;
    std::int32_t chromaEdgeLevel = 65;
    std::int32_t chromaGainIndex = 0;
    std::int32_t chromaEdgeAlpha = 192;
    std::int32_t iirImgCount = 0;
};

// Every key but chromaNrLUT, which is a list.
std::span<const DenoiseKey> denoiseKeys();

// Takes what row `row` (1 to 8) of a tuning record holds; the other keys stay.
void assignRow(DenoiseSettings& settings, const ST_CONFIG_XML& record, int row);

// Takes "KEY=VALUE", and "chromaNrLUT=N,N,..." with up to 40 numbers, the rest 0. HostError(kExitUsage) for an unknown
// key, with the nearest known one, and for a bad value.
void assignSetting(DenoiseSettings& settings, const std::string& assignment);

// The record of the entries; the addresses are left 0.
ST_DN_PARAMS_NEW denoiseParams(const DenoiseSettings& settings);

void to_json(nlohmann::ordered_json& json, const DenoiseSettings& settings);

}  // namespace eishost
