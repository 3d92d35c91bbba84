// A tree as one line of text, to compare with.
#pragma once

#include <string>

#include "config/xml_node.h"

namespace eis::test {

// NAME(ATTRIBUTE=VALUE,BARE){ITEMS}: items in document order, a text in single quotes, a clear as its raw source. A
// declaration's name begins with '?', the nameless root has none; braces and parentheses only where there is something
// inside. "null" for the empty node.
std::string treeText(const XmlNode& node);

}  // namespace eis::test
