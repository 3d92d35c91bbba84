#include "host/lab/lint_tree.h"

#include <strings.h>

#include <algorithm>
#include <cstring>
#include <set>

#include "host/program/nearest_name.h"

namespace eislab {

namespace {

using eis::XmlNodeBody;
using Names = std::vector<std::string>;

bool sameName(const char* a, const std::string& b) {
    return a != nullptr && strcasecmp(a, b.c_str()) == 0;
}

const char* nameOf(const XmlNodeBody& body) {
    return body.name != nullptr ? body.name : "";
}

void addOnce(Names& names, const std::string& name) {
    if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
}

Names sectionNames() {
    Names names;
    for (const eis::TuningKey& key : eis::kTuningKeys) addOnce(names, key.section);
    return names;
}

// What stands in a section: its levels, or its keys where it has none.
Names namesInSection(const std::string& section) {
    Names names;
    for (const eis::TuningKey& key : eis::kTuningKeys) {
        if (section == key.section) addOnce(names, key.iso > 0 ? "ISO" + std::to_string(key.iso) : key.name);
    }
    return names;
}

bool hasLevels(const std::string& section) {
    return std::any_of(eis::kTuningKeys.begin(), eis::kTuningKeys.end(),
                       [&](const eis::TuningKey& key) { return section == key.section && key.iso > 0; });
}

Names namesInLevel(const std::string& section) {
    Names names;
    for (const eis::TuningKey& key : eis::kTuningKeys) {
        if (section == key.section) addOnce(names, key.name);
    }
    return names;
}

// The sections that have a key of this name.
std::string sectionsOfKey(const char* name) {
    std::set<std::string> sections;
    for (const eis::TuningKey& key : eis::kTuningKeys) {
        if (sameName(name, key.name)) sections.insert(key.section);
    }
    std::string all;
    for (const std::string& section : sections) all += (all.empty() ? "" : " and ") + section;
    return all;
}

class TreeCheck {
  public:
    explicit TreeCheck(std::vector<Finding>& findings) : findings_(findings) {}

    void run(const XmlNodeBody& config) {
        visitChildren(config, "", sectionNames(), [&](const XmlNodeBody& section, const std::string& name) {
            if (!hasLevels(name)) {
                visitChildren(
                    section, name, namesInSection(name),
                    [&](const XmlNodeBody& key, const std::string& leaf) { visitKey(key, name + "/" + leaf); });
                return;
            }
            visitChildren(section, name, namesInSection(name), [&](const XmlNodeBody& level, const std::string& iso) {
                const std::string path = name + "/" + iso;
                visitChildren(level, path, namesInLevel(name), [&](const XmlNodeBody& key, const std::string& leaf) {
                    visitKey(key, path + "/" + leaf);
                });
            });
        });
    }

  private:
    void add(const XmlNodeBody& body, const std::string& key, const char* rule, const std::string& message) {
        findings_.push_back({body.line, body.column, key, rule, message});
    }

    // Calls visit with each child that a lookup of one of the names finds, and reports the others.
    template <class Visit>
    void visitChildren(const XmlNodeBody& parent, const std::string& path, const Names& names, Visit visit) {
        if (parent.textCount > 0) {
            add(parent, path.empty() ? "Config" : path, "stray-text",
                "the text '" + std::string(parent.texts[0].text).substr(0, 40) + "' in it is not read");
        }
        std::vector<const XmlNodeBody*> found(names.size());
        for (int i = 0; i < parent.childCount; ++i) {
            const XmlNodeBody& child = *parent.children[i].body();
            const auto known = std::find_if(names.begin(), names.end(),
                                            [&](const std::string& name) { return sameName(nameOf(child), name); });
            if (known == names.end()) {
                reportUnknown(child, path, names);
                continue;
            }
            const std::string childPath = path.empty() ? *known : path + "/" + *known;
            const XmlNodeBody*& first = found[known - names.begin()];
            if (first != nullptr) {
                add(child, childPath, "hidden", "the one at line " + std::to_string(first->line) + " hides it");
                continue;
            }
            first = &child;
            visit(child, *known);
        }
    }

    void reportUnknown(const XmlNodeBody& child, const std::string& path, const Names& names) {
        const std::string name = nameOf(child);
        const std::string childPath = path.empty() ? name : path + "/" + name;
        if (child.isDeclaration != 0) {
            add(child, childPath, "unknown",
                "a <?...?> stays open here: everything behind it up to the end of its "
                "parent is not read");
            return;
        }
        if (names.front() == "ISO1") {
            add(child, childPath, "unknown",
                "unknown, not read; the levels are " + names.front() + " to " + names.back());
            return;
        }
        const std::string nearest = eishost::nearestName(name, names);
        const std::string elsewhere = sectionsOfKey(name.c_str());
        std::string message = "unknown, not read";
        if (!nearest.empty()) {
            message += "; did you mean " + nearest + "?";
        } else if (!elsewhere.empty()) {
            message += " here; it is a key of " + elsewhere;
        }
        add(child, childPath, "unknown", message);
    }

    // Of a key only the first text is read.
    void visitKey(const XmlNodeBody& key, const std::string& path) {
        for (int i = 0; i < key.childCount; ++i) {
            const XmlNodeBody& child = *key.children[i].body();
            add(child, path, "inside-key",
                std::string("<") + nameOf(child) + "> stands inside a key and is not read; is an end tag missing?");
        }
        for (int i = 0; i < key.attributeCount; ++i) {
            add(key, path, "attribute", "the attribute '" + std::string(key.attributes[i].name) + "' is not read");
        }
        if (key.textCount > 1) add(key, path, "more-text", "only the first of its texts is read");
        for (int i = 0; i < key.clearCount; ++i) {
            if (std::strcmp(key.clears[i].open, eis::kXmlCommentOpen) == 0) continue;
            add(key, path, "more-text", std::string(key.clears[i].open) + " sections are not read");
        }
        if (key.textCount == 0) add(key, path, "empty", "no text in it: the default is taken");
    }

    std::vector<Finding>& findings_;
};

// The first element of the name Config, wherever it stands, before the document's end; null when there is none.
const XmlNodeBody* findConfigAnywhere(const XmlNodeBody* root) {
    std::vector<const XmlNodeBody*> open = {root};
    while (!open.empty()) {
        const XmlNodeBody* body = open.back();
        open.pop_back();
        if (sameName(nameOf(*body), "Config")) return body;
        for (int i = body->childCount - 1; i >= 0; --i) open.push_back(body->children[i].body());
    }
    return nullptr;
}

std::string reasonForNoConfig(const XmlNodeBody& root, const XmlNodeBody* config) {
    const bool isNameless = root.name == nullptr;
    if (config == &root) return "no <?xml ...?> declaration stands in front of <Config>";
    if (config != nullptr && isNameless && config->parent != nullptr && config->parent->isDeclaration != 0) {
        const bool isComment = root.clearCount > 0 && root.clears[0].open == eis::kXmlCommentOpen;
        return std::string(isComment ? "a comment" : "something") + " stands ahead of the declaration";
    }
    if (config != nullptr && config->parent != nullptr) {
        return "<Config> stands inside <" + std::string(nameOf(*config->parent)) + ">";
    }
    Names children;
    for (int i = 0; i < root.childCount; ++i) children.emplace_back(nameOf(*root.children[i].body()));
    if (!isNameless && root.isDeclaration == 0) children.emplace_back(nameOf(root));
    const std::string nearest = eishost::nearestName("Config", children);
    return "there is no <Config>" + (nearest.empty() ? "" : "; is it <" + nearest + ">?");
}

}  // namespace

void checkRoot(const TuningFile& file, std::vector<Finding>& findings) {
    if (!IsNull(file.root)) return;
    const XmlNodeBody& root = *file.config.root().body();
    const XmlNodeBody* config = findConfigAnywhere(&root);
    const XmlNodeBody* place = config != nullptr ? config : &root;
    findings.push_back({place->line, place->column, "Config", "no-config",
                        reasonForNoConfig(root, config) + ": no key is found, every value is a default"});
}

void checkTree(const TuningFile& file, std::vector<Finding>& findings) {
    if (IsNull(file.root)) return;
    const XmlNodeBody& config = *file.root.body();
    TreeCheck(findings).run(config);
    // Sections that stand twice are found above; Config itself is not.
    const XmlNodeBody& root = *file.config.root().body();
    for (int i = 0; i < root.childCount; ++i) {
        const XmlNodeBody& child = *root.children[i].body();
        if (&child == &config || !sameName(nameOf(child), "Config")) continue;
        findings.push_back({child.line, child.column, "Config", "hidden",
                            "the one at line " + std::to_string(config.line) + " hides it"});
    }
}

}  // namespace eislab
