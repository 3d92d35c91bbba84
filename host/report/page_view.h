// What the page's template shows, in words and numbers as they are read.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace eishost {

// Of the document that Page collects.
nlohmann::json pageView(const nlohmann::json& document);

// JSON that may stand inside of a script element.
std::string inlineJson(const nlohmann::json& value);

// "12.3"; "" for a null.
std::string fixedText(const nlohmann::json& value, int digits);

}  // namespace eishost
