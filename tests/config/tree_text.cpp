#include "tests/config/tree_text.h"

namespace eis::test {

std::string treeText(const XmlNode& node) {
    if (IsNull(node)) return "null";
    const XmlNodeBody& body = *node.body();
    std::string text = body.isDeclaration != 0 ? "?" : "";
    if (body.name != nullptr) text += body.name;
    for (int32_t i = 0; i < body.attributeCount; ++i) {
        text += i == 0 ? "(" : ",";
        text += body.attributes[i].name;
        if (body.attributes[i].value != nullptr) text.append("=").append(body.attributes[i].value);
    }
    if (body.attributeCount > 0) text += ")";
    if (body.orderCount() == 0) return text;
    text += "{";
    for (int32_t i = 0; i < body.orderCount(); ++i) {
        if (i > 0) text += " ";
        const auto index = static_cast<int32_t>(body.order[i] >> 2);
        switch (body.order[i] & 3u) {
            case kXmlChild:
                text += treeText(body.children[index]);
                break;
            case kXmlTextItem:
                text += '\'';
                text.append(body.texts[index].text, body.texts[index].length);
                text += '\'';
                break;
            default: {
                const XmlClearEntry& clear = body.clears[index];
                text.append(clear.open).append(clear.text).append(clear.close);
            }
        }
    }
    return text + "}";
}

}  // namespace eis::test
