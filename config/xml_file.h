// From a file to a tree.
#pragma once

#include "config/xml_parser.h"

namespace eis {

enum class XmlFileOutcome { loaded, cannotOpen, tooShort, cannotRead, noMemory, parseError };

// What became of a file, for a person to read.
struct XmlFileReport {
    XmlFileOutcome outcome = XmlFileOutcome::cannotOpen;
    bool wideText = false;  // the head looks like 16- or 32-bit text, which the reader does not understand
    XmlResults results;     // of the parser, once it ran
};

// A file below this many bytes is refused, whatever it holds.
inline constexpr int kXmlSmallestFile = 200;

// The root of the file's tree, or the empty node. Sets the reader's encoding, for later loads too, unless the head
// looks like wide text or speaks for none. report may be null.
XmlNode LoadXmlFile(const char* path, XmlFileReport* report = nullptr);

}  // namespace eis
