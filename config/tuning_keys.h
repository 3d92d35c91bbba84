// The keys of the tuning file: one description drives the reading, the record and the tools.
#pragma once

#include <array>
#include <cstdint>
#include <limits>
#include <span>

#include "include/tuning_blocks.h"

namespace eis {

enum class TuningType { int32, float32, uint32Array, int16Array };

struct TuningKey {
    char path[56];  // "/Config/SECTION/NAME" or "/Config/SECTION/ISOn/NAME"
    const char* section;
    const char* name;
    int32_t iso;  // 1 to 8, 0 where the section has no ISO levels
    TuningType type;
    int32_t count;        // numbers that the record has room for; 1 unless it is an array
    int32_t offset;       // in ST_CONFIG_XML, bytes
    double defaultValue;  // of a missing key; of each number of an array
    int32_t lowest;       // values are clamped to this range
    int32_t highest;

    bool isClamped() const { return lowest != std::numeric_limits<int32_t>::min(); }
    bool isArray() const { return type == TuningType::uint32Array || type == TuningType::int16Array; }
};

inline constexpr int kTuningKeyCount = 376;
inline constexpr int kTuningWidth = 22;  // keys, levels or sections below one element, at most

// All keys, in the order in which they are read.
extern const std::array<TuningKey, kTuningKeyCount> kTuningKeys;

// Those that go through the staging record, and those of the SFNoiseReduction section, which do not.
std::span<const TuningKey> stagedTuningKeys();
std::span<const TuningKey> sfTuningKeys();

}  // namespace eis
