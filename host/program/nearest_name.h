// The known name that a misspelt one was probably meant to be.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace eishost {

// Letters to insert, drop, replace or swap with their neighbour to turn one into the other, in any case of letters.
int editDistance(std::string_view a, std::string_view b);

// The nearest of some names, empty when none is near: more than a third of the letters differ.
std::string nearestName(std::string_view name, std::span<const std::string> known);

}  // namespace eishost
