#include "config/tuning_elements.h"

#include <cstring>

#include "config/xml_encoding.h"

namespace eis {

namespace {

// A name in the keys' paths, and the keys whose paths have it.
struct Branch {
    const char* name;  // ends at a '/' or with the path
    size_t length;
    std::span<const TuningKey> keys;
    const XmlNodeBody* element;
};

bool hasName(const XmlNodeBody& body, const Branch& branch) {
    if (lowerCase(*body.name) != lowerCase(*branch.name)) return false;
    return behindName(branch.name, body.name) == branch.name + branch.length;
}

}  // namespace

TuningElements::TuningElements(const XmlNode& root) {
    if (!IsNull(root)) findBelow(*root.body(), kTuningKeys, 0);
}

// The first `depth` characters of the keys' paths, the same ones in all of them, lead to the parent.
void TuningElements::findBelow(const XmlNodeBody& parent, std::span<const TuningKey> keys, size_t depth) {
    Branch branches[kTuningWidth];
    int count = 0;
    for (size_t i = 0; i < keys.size(); ++i) {
        const char* name = keys[i].path + depth + 1;
        const size_t length = std::strcspn(name, "/");
        const bool isNew = count == 0 || branches[count - 1].length != length ||
                           std::memcmp(branches[count - 1].name, name, length) != 0;
        if (isNew) branches[count++] = {name, length, keys.subspan(i, 0), nullptr};
        Branch& branch = branches[count - 1];
        branch.keys = {branch.keys.data(), branch.keys.size() + 1};
    }
    int missing = count;
    for (int32_t i = 0; i < parent.childCount && missing > 0; ++i) {
        const XmlNodeBody& child = *parent.children[i].body();
        for (int b = 0; b < count; ++b) {
            if (branches[b].element != nullptr || !hasName(child, branches[b])) continue;
            branches[b].element = &child;
            --missing;
        }
    }
    for (int b = 0; b < count; ++b) {
        const Branch& branch = branches[b];
        if (branch.element == nullptr) continue;
        if (branch.name[branch.length] == '/') {
            findBelow(*branch.element, branch.keys, depth + 1 + branch.length);
        } else {
            elements_[branch.keys.data() - kTuningKeys.data()] = branch.element;
        }
    }
}

}  // namespace eis
