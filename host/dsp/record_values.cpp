#include "host/dsp/record_values.h"

#include <charconv>
#include <cstring>

namespace eishost {

namespace {

using eis::TuningKey;
using eis::TuningType;

template <class T>
T numberAt(const ST_CONFIG_XML& record, const TuningKey& key, int index) {
    T value;
    std::memcpy(&value, reinterpret_cast<const char*>(&record) + key.offset + index * sizeof(T), sizeof value);
    return value;
}

// Calls use with each number of the key, in its own type.
template <class Use>
void forEachNumber(const ST_CONFIG_XML& record, const TuningKey& key, Use use) {
    for (int i = 0; i < key.count; ++i) {
        switch (key.type) {
            case TuningType::int32:
                use(numberAt<std::int32_t>(record, key, i));
                break;
            case TuningType::float32:
                use(numberAt<float>(record, key, i));
                break;
            case TuningType::uint32Array:
                use(numberAt<std::uint32_t>(record, key, i));
                break;
            case TuningType::int16Array:
                use(numberAt<std::int16_t>(record, key, i));
                break;
        }
    }
}

template <class T>
std::string numberText(T value) {
    char text[64];
    const auto result = std::to_chars(std::begin(text), std::end(text), value);
    return {text, result.ptr};
}

}  // namespace

std::string_view shortPath(const TuningKey& key) {
    return std::string_view(key.path).substr(std::strlen("/Config/"));
}

nlohmann::ordered_json recordValue(const ST_CONFIG_XML& record, const TuningKey& key) {
    nlohmann::ordered_json values = nlohmann::ordered_json::array();
    forEachNumber(record, key, [&](auto value) {
        // By its shortest text: 0.2, not the double next to the float.
        if constexpr (std::is_same_v<decltype(value), float>) {
            values.push_back(nlohmann::ordered_json::parse(numberText(value), nullptr, false));
            if (values.back().is_discarded()) values.back() = nullptr;  // an infinity or a NaN
        } else {
            values.push_back(value);
        }
    });
    return key.isArray() ? values : values[0];
}

std::string recordText(const ST_CONFIG_XML& record, const TuningKey& key) {
    std::string all;
    forEachNumber(record, key, [&](auto value) {
        if (!all.empty()) all += ' ';
        all += numberText(value);
    });
    return all;
}

nlohmann::ordered_json recordJson(const ST_CONFIG_XML& record) {
    nlohmann::ordered_json all = nlohmann::ordered_json::object();
    for (const TuningKey& key : eis::kTuningKeys) {
        nlohmann::ordered_json& section = all[key.section];
        nlohmann::ordered_json& level = key.iso > 0 ? section["ISO" + std::to_string(key.iso)] : section;
        level[key.name] = recordValue(record, key);
    }
    return all;
}

}  // namespace eishost
