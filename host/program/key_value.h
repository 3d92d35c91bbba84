// KEY=VALUE, a word of a command line. What is wrong with one is told as a HostError(kExitUsage).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace eishost {

class KeyValue {
  public:
    explicit KeyValue(const std::string& word);

    // Of keys that have a `name`, the one that is meant, in any case of letters. The error for an unknown one has the
    // nearest name, of `others` too, or all.
    template <class Keys>
    const auto& among(const Keys& keys, std::vector<std::string> others = {}) const {
        for (const auto& key : keys) {
            if (isFor(key.name)) return key;
            others.emplace_back(key.name);
        }
        refuseKey(others);
    }
    bool isFor(const char* key) const;

    const std::string& value() const { return value_; }
    std::int32_t wholeNumber(const char* key, std::int32_t lowest = INT32_MIN, std::int32_t highest = INT32_MAX) const;
    float number(const char* key) const;

    [[noreturn]] void refuseValue(const std::string& key, const std::string& wanted) const;

  private:
    [[noreturn]] void refuseKey(const std::vector<std::string>& known) const;

    std::string word_;
    std::string key_;
    std::string value_;
};

}  // namespace eishost
