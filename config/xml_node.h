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

#include "config/xml_pool.h"

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

// A copy with a terminator; null when there is no memory.
char* copyText(XmlPool& pool, const char* begin, size_t length);

// An array that grows in steps. Its owner counts the items; while there are none it takes one pointer.
template <class T>
class GrowingArray {
  public:
    // Puts an item behind the first count ones; false when there is no memory, with everything as it was.
    bool append(XmlPool& pool, int32_t count, T&& item) {
        if (!makeRoom(pool, count)) return false;
        std::construct_at(&items()[count], std::move(item));
        return true;
    }
    bool makeRoom(XmlPool& pool, int32_t count) {
        const int32_t capacity = head_ != nullptr ? head_->capacity : 0;
        if (count < capacity) return true;
        if (capacity > kMaxItems) return false;
        const int32_t grown = capacity > 0 ? 2 * capacity : 1;
        void* memory = pool.take(bytesFor(grown), alignof(Head));
        if (memory == nullptr) return false;
        Head* head = new (memory) Head{grown};
        if (capacity > 0) {
            std::uninitialized_move_n(items(), count, reinterpret_cast<T*>(head + 1));
            pool.giveBack(head_, bytesFor(capacity));
        }
        head_ = head;
        return true;
    }
    T& operator[](int32_t i) { return items()[i]; }
    const T& operator[](int32_t i) const { return items()[i]; }

  private:
    static constexpr int32_t kMaxItems = 1 << 28;  // a code of the order array has 30 bits for an index

    // Stands in front of the items. No item is aligned less than its count.
    struct Head {
        alignas(T) int32_t capacity;
    };
    static_assert(alignof(Head) == alignof(T) && alignof(T) >= alignof(int32_t));
    static size_t bytesFor(int32_t capacity) { return sizeof(Head) + sizeof(T) * static_cast<size_t>(capacity); }
    T* items() const { return reinterpret_cast<T*>(head_ + 1); }

    Head* head_ = nullptr;
};

// The characters and arrays of these records belong to the tree's pool.

// Entities may put a zero byte into a text, so its length is kept.
struct XmlText {
    char* text = nullptr;
    size_t length = 0;
    size_t capacity = 0;  // bytes at text, the terminator's included
};

// What stands raw between a pair of literals of clearTagTable.
struct XmlClearEntry {
    char* text = nullptr;
    const char* open = nullptr;
    const char* close = nullptr;
};

struct XmlAttribute {
    char* name = nullptr;
    char* value = nullptr;  // null for a bare name
};

// The kinds of a code of the order array: item index times 4, plus kind.
enum XmlItemKind : uint32_t { kXmlChild = 0, kXmlTextItem = 2, kXmlClear = 3 };

struct XmlNodeBody {
    char* name = nullptr;  // null for the nameless root
    int32_t childCount = 0;
    int32_t textCount = 0;
    int32_t clearCount = 0;
    int32_t attributeCount = 0;
    uint8_t isDeclaration = 0;
    int32_t line = 0;               // of the tag's first character, from 1; 0 for the nameless root
    XmlNodeBody* parent = nullptr;  // not counted as a reference
    GrowingArray<XmlNode> children;
    GrowingArray<XmlText> texts;
    GrowingArray<XmlClearEntry> clears;
    GrowingArray<XmlAttribute> attributes;
    GrowingArray<uint32_t> order;  // of children, texts and clears, as they stand in the document
    int32_t refCount = 1;
    int32_t column = 0;  // beside the line
    XmlPool* pool = nullptr;

    int32_t orderCount() const { return childCount + textCount + clearCount; }
};

extern XmlNode g_emptyXmlNode;

// A node without a name that nothing holds but its handle: of a new tree, and of the tree that lives in a pool. The
// empty node when there is no memory.
XmlNode newXmlTree();
XmlNode newXmlNode(XmlPool& pool);

// Drops one reference. With the last one the body goes: it leaves its parent's arrays, and each child loses its parent
// and the reference held for it. Memory is freed with the last body of a tree.
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
// The first child of that name, without regard to case; the empty node where there is none, or no name.
XmlNode FindChild(const XmlNode& node, const char* name);
// The first text, which belongs to the node; null when there is none.
const char* FirstText(const XmlNodeBody* body);
inline const char* FirstText(const XmlNode& node) {
    return FirstText(node.body());
}
// Follows a path of names, each behind a '/', from start on; each step takes the first match. Paths of up to 254
// characters.
XmlNode FindXmlNode(const XmlNode& start, const char* path);

}  // namespace eis
