// The tree that the reader builds: reference-counted nodes, and lookups in them.
//
// A tree is built once and then only walked. Counts are plain integers: handles of one tree are not copied on two
// threads at once. Nothing here recurses, so no nesting is too deep, and nothing throws: what cannot be allocated is
// missing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>

namespace eis {

struct XmlNodeBody;

// A handle of one node. Null is the empty node, which every failed lookup gives, so that a chain of lookups needs no
// tests on the way.
class XmlNode {
  public:
    constexpr XmlNode() noexcept = default;
    XmlNode(const XmlNode& other) noexcept;
    XmlNode(XmlNode&& other) noexcept : body_(std::exchange(other.body_, nullptr)) {}
    XmlNode& operator=(const XmlNode& other) noexcept;
    XmlNode& operator=(XmlNode&& other) noexcept;
    ~XmlNode();

    // Takes over one reference that the caller holds, or gives the handle's own away.
    static XmlNode adopt(XmlNodeBody* body) noexcept;
    XmlNodeBody* detach() noexcept { return std::exchange(body_, nullptr); }

    XmlNodeBody* body() const noexcept { return body_; }

  private:
    XmlNodeBody* body_ = nullptr;
};
static_assert(sizeof(XmlNode) == sizeof(void*));

using OwnedText = std::unique_ptr<char[]>;

// A copy with a terminator; null when there is no memory.
OwnedText copyText(const char* begin, size_t length);

// An array that grows in steps; its owner counts the items.
template <class T>
class GrowingArray {
  public:
    // Makes room for one more item than count; false when there is no memory, with everything as it was.
    bool makeRoom(int32_t count) {
        if (count < capacity_) return true;
        if (capacity_ > kMaxItems) return false;
        const int32_t capacity = capacity_ > 0 ? 2 * capacity_ : 4;
        std::unique_ptr<T[]> grown(new (std::nothrow) T[static_cast<size_t>(capacity)]());
        if (grown == nullptr) return false;
        for (int32_t i = 0; i < count; ++i) grown[i] = std::move(items_[i]);
        items_ = std::move(grown);
        capacity_ = capacity;
        return true;
    }
    T& operator[](int32_t i) { return items_[i]; }
    const T& operator[](int32_t i) const { return items_[i]; }

  private:
    static constexpr int32_t kMaxItems = 1 << 28;  // a code of the order array has 30 bits for an index

    std::unique_ptr<T[]> items_;
    int32_t capacity_ = 0;
};

// Entities may put a zero byte into a text, so its length is kept.
struct XmlText {
    OwnedText text;
    size_t length = 0;
    size_t capacity = 0;  // bytes at text, the terminator's included
};

// What stands raw between a pair of literals of clearTagTable.
struct XmlClearEntry {
    OwnedText text;
    const char* open = nullptr;
    const char* close = nullptr;
};

struct XmlAttribute {
    OwnedText name;
    OwnedText value;  // null for a bare name
};

// The kinds of a code of the order array: item index times 4, plus kind.
enum XmlItemKind : uint32_t { kXmlChild = 0, kXmlTextItem = 2, kXmlClear = 3 };

struct XmlNodeBody {
    OwnedText name;  // null for the nameless root
    int32_t childCount = 0;
    int32_t textCount = 0;
    int32_t clearCount = 0;
    int32_t attributeCount = 0;
    uint8_t isDeclaration = 0;
    XmlNodeBody* parent = nullptr;  // not counted as a reference
    GrowingArray<XmlNode> children;
    GrowingArray<XmlText> texts;
    GrowingArray<XmlClearEntry> clears;
    GrowingArray<XmlAttribute> attributes;
    GrowingArray<uint32_t> order;  // of children, texts and clears, as they stand in the document
    int32_t refCount = 1;
    int32_t line = 0;  // of the tag's first character, from 1; 0 for the nameless root
    int32_t column = 0;

    int32_t orderCount() const { return childCount + textCount + clearCount; }
};

extern XmlNode g_emptyXmlNode;

// Drops one reference. The last one frees the body: it leaves its parent's arrays, and each child loses its parent and
// the reference held for it.
void releaseXmlBody(XmlNodeBody* body) noexcept;

// Add an item at the end; false when there is no memory, with nothing added. A child comes with a reference.
bool appendChild(XmlNodeBody* parent, XmlNode* child);
bool appendText(XmlNodeBody* body, XmlText* text);
bool appendClear(XmlNodeBody* body, XmlClearEntry* clear);
bool appendAttribute(XmlNodeBody* body, XmlAttribute* attribute);
// Takes the last item of the order array, a clear, away.
void removeLastClear(XmlNodeBody* body);

inline bool IsNull(const XmlNode& node) {
    return node.body() == nullptr;
}
// The first child of that name, without regard to case.
XmlNode FindChild(const XmlNode& node, const char* name);
// The first text, which belongs to the node; null when there is none.
const char* FirstText(const XmlNode& node);
// Follows a path of names, each behind a '/', from start on; each step takes the first match. Paths of up to 254
// characters.
XmlNode FindXmlNode(const XmlNode& start, const char* path);

}  // namespace eis
