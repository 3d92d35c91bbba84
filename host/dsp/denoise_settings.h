// The settings of the denoise entries, as a user gives them.
#pragma once

#include <cstdint>
#include <iosfwd>
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
    bool inRow;                       // a tuning file has it in its rows
    std::int32_t lowest = INT32_MIN;  // of what the parameter block can hold
    std::int32_t highest = INT32_MAX;

    const char* section() const;
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

// Notes rows of a file's record that are out of order.
void noteRowOrder(const ST_CONFIG_XML& record, const std::string& file);

// Takes a row of a tuning file, by loadTuningRecord and noteRowOrder.
void takeRow(DenoiseSettings& settings, const std::string& file, int row, std::ostream* trace, std::ostream* log);

// Takes "KEY=VALUE", and "chromaNrLUT=N,N,..." with up to 40 numbers, the rest 0. HostError(kExitUsage) for an unknown
// key, with the nearest known one, and for a bad value.
void assignSetting(DenoiseSettings& settings, const std::string& assignment);

// Notes the values that are outside their useful range.
void noteSettings(const DenoiseSettings& settings);

// "lumaLF -85, detail -76, chromaNrLUT 137,...": the keys that differ from what they have when not given.
std::string describeSettings(const DenoiseSettings& settings);

// The keys for a command's help, one a line.
std::string denoiseKeyHelp();

// The record of the entries; the addresses are left 0.
ST_DN_PARAMS_NEW denoiseParams(const DenoiseSettings& settings);

void to_json(nlohmann::ordered_json& json, const DenoiseSettings& settings);

}  // namespace eishost
