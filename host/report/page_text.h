// The page's templates and what they carry, which stand in the program.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace eishost {

extern const char kPageHead[];
extern const char kPageTemplate[];
extern const char kBurstsTemplate[];
extern const char kClipTemplate[];
extern const char kPageStyle[];
extern const char kPageScript[];

// In every page of ours, and so in none of anyone else.
inline constexpr char kPageMark[] = "<meta name=\"generator\" content=\"kelvane_eis_ap\">";

// A Mustache template with the values of an object; null and "" are false to it. The style comes as "style", the script
// as "script", the head of all pages as the partial "head". "allowed" is what the page may load beside pictures and
// styles, in the words of a Content-Security-Policy.
std::string renderPage(const char* pageTemplate, const nlohmann::json& view);

}  // namespace eishost
