#include "config/xml_entity.h"

#include <algorithm>
#include <cstring>

#include "bounded/number_text.h"
#include "config/xml_encoding.h"
#include "config/xml_parser.h"

namespace eis {

namespace {

// What one entity stands for and how many bytes it takes in the text.
struct Replacement {
    size_t length;
    char character;
    int32_t error;
};

// "&#" digits ";" or "&#x" digits ";". Without a digit it is a zero byte.
Replacement numericEntity(const char* at, size_t available) {
    const bool isHexadecimal = available > 2 && lowerCase(at[2]) == 'x';
    const size_t digits = isHexadecimal ? 3 : 2;
    size_t end = digits;
    uint32_t value = 0;
    for (; end < available && at[end] != ';'; ++end) {
        const IntegerText digit = scanInteger(at + end, 1, isHexadecimal ? 16 : 10);
        if (digit.length == 0) return {0, '\0', kXmlBadEntity};
        value = std::min<uint32_t>(value * (isHexadecimal ? 16 : 10) + static_cast<uint32_t>(digit.magnitude), 256);
    }
    if (end >= available) return {0, '\0', kXmlBadEntity};
    if (value > 255) return {0, '\0', kXmlEntityOutOfRange};
    return {end + 1, static_cast<char>(value), kXmlNoError};
}

Replacement entityAt(const char* at, size_t available) {
    if (available > 1 && at[1] == '#') return numericEntity(at, available);
    for (const XmlEntity& entity : entityTable) {
        const size_t length = std::strlen(entity.name);
        if (length <= available && behindName(at, entity.name) != nullptr)
            return {length, entity.character, kXmlNoError};
    }
    return {0, '\0', kXmlBadEntity};
}

}  // namespace

XmlDecoded decodeEntities(const char* begin, const char* end, char* out) {
    size_t length = 0;
    for (const char* at = begin; at < end;) {
        const auto available = static_cast<size_t>(end - at);
        if (*at == '&') {
            const Replacement replacement = entityAt(at, available);
            if (replacement.error != kXmlNoError) return {length, replacement.error, at};
            out[length++] = replacement.character;
            at += replacement.length;
        } else {
            const size_t step = std::min(charStep(at), available);
            std::memcpy(out + length, at, step);
            length += step;
            at += step;
        }
    }
    return {length, kXmlNoError, nullptr};
}

}  // namespace eis
