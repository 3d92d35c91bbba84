#include "host/dsp/control_settings.h"

#include <strings.h>

#include <sstream>

#include "host/program/key_value.h"

namespace eishost {

namespace {

constexpr ControlKey kFastKeys[] = {
    {"nrTailRatio", -105, -105, 612, true, "strength of the tail table, meant for -105 to 0"},
    {"nrLumaDetail", 0, 0, 0, true, "gain of the second luma curve: 0.61 from -46 up, 0.98 from -99 down"},
    {"nrLumaRatio", -100, -100, 410, true, "strength of the luma curve, from -100"},
    {"nrUVRatio", -105, -105, 851, true, "strength of the chroma curves, meant for -105 to 0"},
    {"nrTH", 0, 0, 254, true, "strength of the threshold table, 0 to 254"},
    {"nrShadingStrength", 1, 0, 255, false, "factor on the chroma strength for the shading curve"},
};
constexpr ControlKey kShrinkKeys[] = {
    {"lumaRatio", -100, -100, 410, true, "strength of the luma curve, from -100"},
    {"shrinkRatio0", -128, -128, 382, true, "strength of shrink table 0, from -128"},
    {"shrinkRatio1", -128, -128, 382, true, "strength of shrink table 1, from -128"},
    {"shrinkRatio2", -128, -128, 382, true, "strength of shrink table 2, from -128"},
    {"lumaDetail", 0, 0, 0, true, "gain of the second luma curve: 0.61 from -46 up, 0.98 from -99 down"},
};

std::string number(double value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

int32_t whole(double value) {
    return static_cast<int32_t>(value);
}

}  // namespace

std::span<const ControlKey> controlKeys(TableKind kind) {
    if (kind == TableKind::kFast) return kFastKeys;
    return kShrinkKeys;
}

bool findControlKey(const std::string& name, TableKind& kind, std::size_t& index) {
    for (const TableKind candidate : {TableKind::kFast, TableKind::kShrink}) {
        const auto keys = controlKeys(candidate);
        for (std::size_t i = 0; i < keys.size(); ++i) {
            if (strcasecmp(keys[i].name, name.c_str()) != 0) continue;
            kind = candidate;
            index = i;
            return true;
        }
    }
    return false;
}

ControlSettings::ControlSettings(TableKind settingsKind) : kind(settingsKind) {
    for (const ControlKey& key : controlKeys(kind)) values.push_back(key.none);
}

void assignSetting(ControlSettings& settings, const std::string& assignment) {
    const KeyValue word(assignment);
    const auto keys = controlKeys(settings.kind);
    const ControlKey& key = word.among(keys);
    settings.values[&key - keys.data()] = key.integer ? word.wholeNumber(key.name) : word.number(key.name);
}

std::vector<std::string> limitNotes(const ControlSettings& settings) {
    std::vector<std::string> notes;
    const auto keys = controlKeys(settings.kind);
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const ControlKey& key = keys[i];
        if (key.min == key.max || (settings.values[i] >= key.min && settings.values[i] <= key.max)) continue;
        notes.push_back(std::string(key.name) + "=" + number(settings.values[i]) + " is outside " + number(key.min) +
                        " to " + number(key.max) + ": what it feeds is no correction curve");
    }
    return notes;
}

std::string describeSettings(const ControlSettings& settings) {
    std::string text;
    const auto keys = controlKeys(settings.kind);
    for (std::size_t i = 0; i < keys.size(); ++i) {
        if (settings.values[i] == keys[i].none) continue;
        text += std::string(text.empty() ? "" : ", ") + keys[i].name + " " + number(settings.values[i]);
    }
    return text.empty() ? "no correction" : text;
}

ST_FAST_DN2D_CONTROL fastBlock(const ControlSettings& settings, DeviceAddress tables) {
    const std::vector<double>& v = settings.values;
    return {tables,      {0, 0, 0},   whole(v[0]), whole(v[1]),
            whole(v[2]), whole(v[3]), whole(v[4]), static_cast<float>(v[5])};
}

ST_SHRINK_LUT_CONTROL shrinkBlock(const ControlSettings& settings, DeviceAddress tables) {
    const std::vector<double>& v = settings.values;
    return {tables, whole(v[0]), whole(v[1]), whole(v[2]), whole(v[3]), whole(v[4]), 0};
}

}  // namespace eishost
