#include "host/program/key_value.h"

#include <strings.h>

#include <cerrno>
#include <cstdlib>

#include "host/program/exit_codes.h"
#include "host/program/nearest_name.h"

namespace eishost {

KeyValue::KeyValue(const std::string& word) : word_(word) {
    const std::size_t equals = word.find('=');
    if (equals == std::string::npos) throw HostError(kExitUsage, "'" + word + "': want KEY=VALUE");
    key_ = word.substr(0, equals);
    value_ = word.substr(equals + 1);
}

bool KeyValue::isFor(const char* key) const {
    return strcasecmp(key_.c_str(), key) == 0;
}

std::int32_t KeyValue::wholeNumber(const char* key, std::int32_t lowest, std::int32_t highest) const {
    errno = 0;
    char* end = nullptr;
    const long value = std::strtol(value_.c_str(), &end, 10);
    if (value_.empty() || *end != '\0' || errno != 0 || value < lowest || value > highest) {
        refuseValue(key, "a whole number from " + std::to_string(lowest) + " to " + std::to_string(highest));
    }
    return static_cast<std::int32_t>(value);
}

float KeyValue::number(const char* key) const {
    char* end = nullptr;
    const float value = std::strtof(value_.c_str(), &end);
    if (value_.empty() || *end != '\0') refuseValue(key, "a number");
    return value;
}

void KeyValue::refuseValue(const std::string& key, const std::string& wanted) const {
    throw HostError(kExitUsage, "'" + word_ + "': want " + key + "=" + wanted);
}

void KeyValue::refuseKey(const std::vector<std::string>& known) const {
    const std::string nearest = nearestName(key_, known);
    std::string all;
    for (const std::string& name : known) all += (all.empty() ? "" : ", ") + name;
    throw HostError(kExitUsage, "unknown key '" + key_ + "'" +
                                    (nearest.empty() ? ", the keys are " + all : ", did you mean " + nearest + "?"));
}

}  // namespace eishost
