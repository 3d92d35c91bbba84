// Numbers one after the other in a text, by the rules of a decimal input stream in the classic locale.
#pragma once

#include <cstdint>

#include "bounded/number_text.h"

namespace eis {

enum class StreamEnd {
    full,        // as many numbers as were asked for
    ranOut,      // nothing but white space was left
    outOfRange,  // the last number stored is its type's nearest limit
    notNumber    // the last number stored is a 0 for something else
};

struct StreamReading {
    int32_t stored;
    StreamEnd end;
    const char* rest;  // where the reading ended
};

// What extracting one number does: how many characters it takes, 0 when there is no number.
template <class T>
struct Extracted {
    size_t length;
    T value;
    bool inRange;
};

template <class T>
Extracted<T> extractNumber(const char* text) {
    const IntegerText number = scanInteger(text, SIZE_MAX, 10);
    return {number.length, saturatedValue<T>(number), isInRange<T>(number)};
}
template <>
Extracted<float> extractNumber<float>(const char* text);

// Stores up to count numbers; elements that are not reached stay as they are.
template <class T>
StreamReading readDecimals(const char* text, T* dest, int32_t count) {
    for (int32_t i = 0; i < count; ++i) {
        while (isSpace(*text)) ++text;
        if (*text == '\0') return {i, StreamEnd::ranOut, text};
        const Extracted<T> number = extractNumber<T>(text);
        dest[i] = number.length > 0 ? number.value : T{0};
        if (number.length == 0) return {i + 1, StreamEnd::notNumber, text};
        text += number.length;
        if (!number.inRange) return {i + 1, StreamEnd::outOfRange, text};
    }
    return {count, StreamEnd::full, text};
}

}  // namespace eis
