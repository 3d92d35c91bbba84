// Entities in texts and attribute values.
#pragma once

#include <cstddef>
#include <cstdint>

namespace eis {

struct XmlEntity {
    const char* name;
    char character;
};
// Matched without regard to case.
inline constexpr XmlEntity entityTable[] = {
    {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''}};

struct XmlDecoded {
    size_t length;         // bytes written
    int32_t error;         // an XmlError
    const char* offender;  // the entity that gave it
};

// Copies [begin, end) to out, which has room for as many bytes, with entities replaced.
XmlDecoded decodeEntities(const char* begin, const char* end, char* out);

}  // namespace eis
