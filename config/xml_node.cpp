#include "config/xml_node.h"

#include <cstring>

#include "bounded/bounded_memory.h"
#include "bounded/bounded_string.h"
#include "config/xml_encoding.h"

namespace eis {

namespace {

constexpr uint32_t kKindBits = 2;
constexpr uint32_t kKindMask = 3;

uint32_t orderCode(int32_t index, XmlItemKind kind) {
    return static_cast<uint32_t>(index) << kKindBits | kind;
}

// Puts an item behind the others of its kind and notes it in the order array.
template <class T>
bool appendInOrder(XmlNodeBody* body, GrowingArray<T>* items, int32_t* count, XmlItemKind kind, T* item) {
    XmlPool& pool = *body->pool;
    const int32_t place = body->orderCount();
    if (!body->order.makeRoom(pool, place) || !items->append(pool, *count, std::move(*item))) return false;
    body->order[place] = orderCode(*count, kind);
    ++*count;
    return true;
}

// Takes a child out of its parent's arrays; the reference that they hold is already spent.
void unlinkFromParent(XmlNodeBody* body) {
    XmlNodeBody* parent = body->parent;
    int32_t index = 0;
    while (parent->children[index].body() != body) ++index;
    (void)parent->children[index].detach();
    for (int32_t i = index + 1; i < parent->childCount; ++i) parent->children[i - 1] = std::move(parent->children[i]);

    const int32_t items = parent->orderCount();
    int32_t kept = 0;
    for (int32_t i = 0; i < items; ++i) {
        const uint32_t code = parent->order[i];
        if (code == orderCode(index, kXmlChild)) continue;
        const bool shifts = (code & kKindMask) == kXmlChild && code > orderCode(index, kXmlChild);
        parent->order[kept++] = shifts ? code - (1u << kKindBits) : code;
    }
    --parent->childCount;
    body->parent = nullptr;
}

// The handle that the tree itself holds, or the empty one.
const XmlNode& childNamed(const XmlNode& node, const char* name) {
    const XmlNodeBody* body = node.body();
    for (int32_t i = 0; body != nullptr && i < body->childCount; ++i) {
        const XmlNode& child = body->children[i];
        const char* rest = behindName(name, child.body()->name);
        if (rest != nullptr && *rest == '\0') return child;
    }
    return g_emptyXmlNode;
}

}  // namespace

constinit XmlNode g_emptyXmlNode;

XmlNode::XmlNode(const XmlNode& other) noexcept : body_(other.body_) {
    if (body_ != nullptr) ++body_->refCount;
}

XmlNode& XmlNode::operator=(const XmlNode& other) noexcept {
    // The new body may hang below the old one, so its reference is taken before the old one goes.
    if (this != &other) *this = XmlNode(other);
    return *this;
}

XmlNode& XmlNode::operator=(XmlNode&& other) noexcept {
    XmlNodeBody* old = std::exchange(body_, other.detach());
    if (old != nullptr) releaseXmlBody(old);
    return *this;
}

XmlNode::~XmlNode() {
    if (body_ != nullptr) releaseXmlBody(body_);
}

XmlNode XmlNode::adopt(XmlNodeBody* body) noexcept {
    XmlNode node;
    node.body_ = body;
    return node;
}

void releaseXmlBody(XmlNodeBody* body) noexcept {
    if (--body->refCount > 0) return;
    if (body->parent != nullptr) unlinkFromParent(body);
    // Bodies that go form a list over their parent pointers, which nobody needs any more.
    for (XmlNodeBody* pending = body; pending != nullptr;) {
        XmlNodeBody* freed = pending;
        pending = freed->parent;
        for (int32_t i = 0; i < freed->childCount; ++i) {
            XmlNodeBody* child = freed->children[i].detach();
            child->parent = nullptr;
            if (--child->refCount > 0) continue;
            child->parent = pending;
            pending = child;
        }
        freed->pool->dropNode();
    }
}

char* copyText(XmlPool& pool, const char* begin, size_t length) {
    auto* copy = static_cast<char*>(pool.take(length + 1, 1));
    if (copy != nullptr) {
        std::memcpy(copy, begin, length);
        copy[length] = '\0';
    }
    return copy;
}

XmlNode newXmlTree() {
    XmlPool* pool = XmlPool::create();
    return pool != nullptr ? newXmlNode(*pool) : XmlNode();
}

XmlNode newXmlNode(XmlPool& pool) {
    pool.addNode();
    auto* body = pool.make<XmlNodeBody>();
    if (body != nullptr) {
        body->pool = &pool;
    } else {
        pool.dropNode();
    }
    return XmlNode::adopt(body);
}

bool appendChild(XmlNodeBody* parent, XmlNode* child) {
    XmlNodeBody* body = child->body();
    if (!appendInOrder(parent, &parent->children, &parent->childCount, kXmlChild, child)) return false;
    body->parent = parent;
    return true;
}

bool appendText(XmlNodeBody* body, XmlText* text) {
    return appendInOrder(body, &body->texts, &body->textCount, kXmlTextItem, text);
}

bool appendClear(XmlNodeBody* body, XmlClearEntry* clear) {
    return appendInOrder(body, &body->clears, &body->clearCount, kXmlClear, clear);
}

bool appendAttribute(XmlNodeBody* body, XmlAttribute* attribute) {
    if (!body->attributes.append(*body->pool, body->attributeCount, XmlAttribute(*attribute))) return false;
    ++body->attributeCount;
    return true;
}

void removeLastClear(XmlNodeBody* body) {
    --body->clearCount;
}

XmlNode FindChild(const XmlNode& node, const char* name) {
    return name != nullptr ? childNamed(node, name) : g_emptyXmlNode;
}

const char* FirstText(const XmlNodeBody* body) {
    return body != nullptr && body->textCount > 0 ? body->texts[0].text : nullptr;
}

XmlNode FindXmlNode(const XmlNode& start, const char* path) {
    constexpr size_t kPathSize = 255;
    char copy[kPathSize];
    if (path == nullptr || path[0] != '/' || strncpy_s(copy, kPathSize, path, kPathSize) != errNone)
        return g_emptyXmlNode;
    const XmlNode* current = &start;
    for (char* at = copy; *at == '/' && at[1] != '\0' && !IsNull(*current);) {
        char* name = at + 1;
        at = name + strcspn(name, "/");
        const bool goesOn = *at == '/';
        *at = '\0';
        current = &childNamed(*current, name);
        if (goesOn) *at = '/';
    }
    return *current;
}

}  // namespace eis
