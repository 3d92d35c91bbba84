#include "host/lab/tuning_origin.h"

#include <algorithm>

namespace eis {

namespace {

const char* behindSpace(const char* text) {
    while (isSpace(*text)) ++text;
    return text;
}

void traceInteger(const TuningKey& key, TuningOrigin* origin) {
    const char* begin = behindSpace(origin->text);
    const IntegerText number = scanInteger(begin, SIZE_MAX, 10);
    origin->rest = begin + number.length;
    if (number.length == 0) {
        origin->source = TuningSource::notNumber;
        return;
    }
    const auto value = saturatedValue<int32_t>(number);
    origin->source = TuningSource::file;
    origin->isClamped = !isInRange<int32_t>(number) || value != std::clamp(value, key.lowest, key.highest);
}

void traceFloat(TuningOrigin* origin) {
    const char* begin = behindSpace(origin->text);
    const size_t length = floatTextLength(begin, SIZE_MAX, false);
    origin->source = length > 0 ? TuningSource::file : TuningSource::notNumber;
    origin->rest = begin + length;
}

template <class T, int32_t capacity>
void traceArray(const TuningKey& key, TuningOrigin* origin) {
    T values[capacity];
    const StreamReading reading = readDecimals(origin->text, values, key.count);
    origin->source = TuningSource::file;
    origin->rest = reading.rest;
    origin->stored = reading.stored;
    origin->end = reading.end;
}

}  // namespace

TuningOrigin traceTuningKey(const XmlConfig& config, const TuningKey& key) {
    TuningOrigin origin;
    origin.element = config.element(key);
    if (origin.element == nullptr) return origin;
    origin.text = FirstText(origin.element);
    if (origin.text == nullptr) {
        origin.source = TuningSource::noText;
        return origin;
    }
    switch (key.type) {
        case TuningType::int32:
            traceInteger(key, &origin);
            break;
        case TuningType::float32:
            traceFloat(&origin);
            break;
        case TuningType::uint32Array:
            traceArray<uint32_t, kTuningChromaLutEntries>(key, &origin);
            break;
        case TuningType::int16Array:
            traceArray<int16_t, kTuningAlphaLutEntries>(key, &origin);
            break;
    }
    origin.rest = behindSpace(origin.rest);
    return origin;
}

}  // namespace eis
