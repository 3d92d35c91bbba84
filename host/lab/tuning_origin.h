// Where the value of a key comes from, for tools that explain a tuning file.
//
// A tool loads with LoadXmlFile or XmlConfig::LoadConfig, whose report says why a file was refused; walks the tree,
// whose nodes know their place, for names that no key has and for elements that an earlier one hides; and asks here for
// each key. The values themselves stand in the record that ImgProc_ParseXMLMfnr fills, at the key's offset.
#pragma once

#include <cstdint>

#include "config/decimal_stream.h"
#include "config/tuning_keys.h"
#include "config/tuning_load.h"

namespace eis {

enum class TuningSource {
    file,
    missing,   // no element at the key's path
    noText,    // an element, but no text ahead of which the reading could begin
    notNumber  // a text that does not begin with a number
};

struct TuningOrigin {
    TuningSource source = TuningSource::missing;  // anything but file means the default
    const XmlNodeBody* element = nullptr;         // the one that counts, which the document holds; null when missing
    const char* text = nullptr;                   // its first text
    bool isClamped = false;                       // a single number was beyond its range, the key's or the type's
    const char* rest = nullptr;  // what stands behind the numbers that were read, from the first that is no white space
    // Of an array: how many of key.count elements were stored, and why no more. Of the others the record keeps what the
    // load before left in the process, or 0.
    int32_t stored = 0;
    StreamEnd end = StreamEnd::full;

    // Of the element, from 1; 0 when missing.
    int32_t line() const { return element != nullptr ? element->line : 0; }
    int32_t column() const { return element != nullptr ? element->column : 0; }
    bool hasRest() const { return rest != nullptr && *rest != '\0'; }
};

TuningOrigin traceTuningKey(const XmlConfig& config, const TuningKey& key);

}  // namespace eis
