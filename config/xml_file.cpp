#include "config/xml_file.h"

#include <cstdio>
#include <cstring>

#include "config/xml_encoding.h"
#include "libCore/core/source/frame/file.h"
#include "libCore/core/source/frame/memory.h"
#include "libCore/core/source/frame/wire.h"

namespace eis {

namespace {

constexpr char kUtf8Mark[] = "\xEF\xBB\xBF";
constexpr size_t kUtf8MarkBytes = 3;
constexpr size_t kFileTail = 4;  // zero bytes behind a file's content

bool looksLikeWideText(const char (&head)[kXmlSmallestFile]) {
    const auto mark = loadUnaligned<uint16_t>(head);
    int below256 = 0;
    bool anyZero = false;
    for (int i = 0; i < kXmlSmallestFile / 4; ++i) {
        const uint32_t word = loadWord(head, i);
        if (word < 256) ++below256;
        if (word == 0) anyZero = true;
    }
    return mark == 0xFFFE || mark == 0xFEFF || below256 > 25 || anyZero;
}

// Reads the head and chooses the encoding by it. A file that does not open passes here and fails later.
XmlFileOutcome inspectHead(const char* path, bool* wideText) {
    const File file = openFile(path, "rb");
    if (!file) return XmlFileOutcome::loaded;
    char head[kXmlSmallestFile];
    if (std::fread(head, 1, sizeof head, file.get()) < sizeof head) return XmlFileOutcome::tooShort;
    *wideText = looksLikeWideText(head);
    if (checkWideText != 0 && *wideText) return XmlFileOutcome::loaded;
    const bool isMarked = std::memcmp(head, kUtf8Mark, kUtf8MarkBytes) == 0;
    const int32_t encoding = isMarked ? kXmlUtf8 : DetectXmlEncoding(head, sizeof head);
    if (encoding != 0) setXmlEncoding(encoding);
    return XmlFileOutcome::loaded;
}

size_t markLength(const char* content) {
    if (std::memcmp(content, kUtf8Mark, kUtf8MarkBytes) == 0) return kUtf8MarkBytes;
    const bool isWideMark = std::memcmp(content, "\xFF\xFE", 2) == 0 || std::memcmp(content, "\xEF\xFF", 2) == 0;
    return checkWideText == 0 && isWideMark ? 2 : 0;
}

XmlFileOutcome parseFile(const char* path, XmlNode* root, XmlResults* results) {
    const File file = openFile(path, "rb");
    if (!file) return XmlFileOutcome::cannotOpen;
    if (std::fseek(file.get(), 0, SEEK_END) != 0) return XmlFileOutcome::cannotRead;
    const long length = std::ftell(file.get());
    if (length <= 0 || std::fseek(file.get(), 0, SEEK_SET) != 0) return XmlFileOutcome::cannotRead;
    const auto bytes = static_cast<size_t>(length);
    const Scratch<char> content(static_cast<int64_t>(bytes + kFileTail), "LoadXmlFile");
    if (!content) return XmlFileOutcome::noMemory;
    if (std::fread(content.get(), 1, bytes, file.get()) != bytes) return XmlFileOutcome::cannotRead;
    std::memset(content.get() + bytes, 0, kFileTail);
    *root = ParseXmlText(content.get() + markLength(content.get()), results);
    if (!IsNull(*root)) return XmlFileOutcome::loaded;
    return results->code == kXmlNoMemory ? XmlFileOutcome::noMemory : XmlFileOutcome::parseError;
}

}  // namespace

XmlNode LoadXmlFile(const char* path, XmlFileReport* report) {
    XmlFileReport own;
    XmlFileReport& result = report != nullptr ? *report : own;
    result = {};
    XmlNode root;
    result.outcome = inspectHead(path, &result.wideText);
    if (result.outcome == XmlFileOutcome::loaded) result.outcome = parseFile(path, &root, &result.results);
    return root;
}

}  // namespace eis
