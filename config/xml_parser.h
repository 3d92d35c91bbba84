// From a text to a tree. The reader does not validate: it accepts what the tuning file needs and keeps going where it
// can.
#pragma once

#include <cstdint>

#include "config/xml_node.h"

namespace eis {

// Up to kXmlNoElement what was built is kept, above it the tree is given up.
enum XmlError : int32_t {
    kXmlNoError = 0,
    kXmlMissingEndTag = 1,  // an element was closed by an outer one's end tag, or by the end of the text
    kXmlNoElement = 2,
    kXmlUnmatchedEndTag = 6,
    kXmlUnclosedClearTag = 7,  // a comment, CDATA, DOCTYPE or PRE section without its end
    kXmlUnexpectedToken = 8,   // something in a tag that does not belong there
    kXmlBadEntity = 12,
    kXmlEntityOutOfRange = 13,  // a numeric entity above 255
    kXmlNoMemory = 14           // for an element
};

// The last error that was noted, and where. Lines and columns count from 1, columns in bytes; both are 0 without an
// error.
struct XmlResults {
    int32_t code = kXmlNoError;
    int32_t line = 0;
    int32_t column = 0;
};

// A pair of literals between which everything is raw.
struct XmlClearTag {
    const char* open;
    const char* close;
};
inline constexpr char kXmlCommentOpen[] = "<!--";
inline constexpr char kXmlDoctypeOpen[] = "<!DOCTYPE";
// Tested in this order on each '<'.
inline constexpr XmlClearTag clearTagTable[] = {
    {"<![CDATA[", "]]>"}, {kXmlDoctypeOpen, ">"}, {kXmlCommentOpen, "-->"}, {"<PRE>", "</PRE>"}};

// Parses a null-terminated text; the empty node for a null one and after an error above kXmlNoElement. A nameless root
// with one child and nothing else gives way to that child. results may be null.
XmlNode ParseXmlText(const char* text, XmlResults* results);

}  // namespace eis
