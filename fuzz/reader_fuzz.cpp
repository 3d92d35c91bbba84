// The reader on any text: it ends, the tree is sound, and every node is found by its name.
//
// The first byte chooses the encoding and the options, '0' being the library's own; the rest is the text.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "config/xml_encoding.h"
#include "config/xml_parser.h"
#include "fuzz/check.h"

namespace {

using namespace eis;

void checkItems(const XmlNodeBody& body) {
    int32_t next[4] = {};
    for (int32_t i = 0; i < body.orderCount(); ++i) {
        const uint32_t kind = body.order[i] & 3u;
        FUZZ_CHECK(kind != 1);
        FUZZ_CHECK(static_cast<int32_t>(body.order[i] >> 2) == next[kind]++);
    }
    FUZZ_CHECK(next[kXmlChild] == body.childCount);
    FUZZ_CHECK(next[kXmlTextItem] == body.textCount);
    FUZZ_CHECK(next[kXmlClear] == body.clearCount);
    for (int32_t i = 0; i < body.textCount; ++i) {
        FUZZ_CHECK(body.texts[i].length > 0 && body.texts[i].length < body.texts[i].capacity);
        FUZZ_CHECK(body.texts[i].text[body.texts[i].length] == '\0');
    }
    for (int32_t i = 0; i < body.clearCount; ++i) FUZZ_CHECK(body.clears[i].text != nullptr);
    for (int32_t i = 0; i < body.attributeCount; ++i) FUZZ_CHECK(*body.attributes[i].name != '\0');
}

// Walks the tree in document order, without recursion.
void checkTree(const XmlNode& root) {
    FUZZ_CHECK(root.body()->parent == nullptr && root.body()->refCount == 1);
    struct Level {
        const XmlNode* node;
        int32_t next;
        size_t pathLength;
    };
    std::vector<Level> levels(1, {&root, 0, 0});
    std::string path;
    while (!levels.empty()) {
        Level& level = levels.back();
        const XmlNodeBody& body = *level.node->body();
        path.resize(level.pathLength);
        if (level.next == 0) checkItems(body);
        if (level.next == body.childCount) {
            levels.pop_back();
            continue;
        }
        const XmlNode& child = body.children[level.next++];
        const char* name = child.body()->name;
        FUZZ_CHECK(child.body()->parent == &body && child.body()->refCount == 1);
        FUZZ_CHECK(child.body()->line > 0 && child.body()->column > 0);
        FUZZ_CHECK(!IsNull(FindChild(*level.node, name)));
        path.append("/").append(name);
        (void)FirstText(FindXmlNode(root, path.c_str()));
        levels.push_back({&child, 0, path.size()});
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    setXmlEncoding(data[0] % 6 + 1);
    dropWhiteSpace = data[0] / 6 % 2 == 0 ? 1 : 0;
    mergeAroundComments = data[0] / 12 % 2 == 0 ? 1 : 0;
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    (void)DetectXmlEncoding(text.data(), text.size());
    XmlResults results;
    const XmlNode root = ParseXmlText(text.c_str(), &results);
    FUZZ_CHECK(IsNull(root) == (results.code > kXmlNoElement));
    FUZZ_CHECK((results.code == kXmlNoError) == (results.line == 0));
    if (!IsNull(root)) checkTree(root);
    return 0;
}
