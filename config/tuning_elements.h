// Where the keys of the tuning file stand in a tree.
#pragma once

#include <array>

#include "config/tuning_keys.h"
#include "config/xml_node.h"

namespace eis {

// Of each key of kTuningKeys the element at its path, null where there is none. They live as long as their tree.
class TuningElements {
  public:
    constexpr TuningElements() = default;
    // Finds what FindXmlNode finds, path by path, but walks the children of no element more than once.
    explicit TuningElements(const XmlNode& root);

    const XmlNodeBody* of(const TuningKey& key) const { return elements_[&key - kTuningKeys.data()]; }

  private:
    void findBelow(const XmlNodeBody& parent, std::span<const TuningKey> keys, size_t depth);

    std::array<const XmlNodeBody*, kTuningKeyCount> elements_{};
};

}  // namespace eis
